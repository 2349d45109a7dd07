// CIMUtil::parseEmbeddedInstance, on the request parser.
#include <string>

#include "CIMXMLDocument.h"
#include "CIMXMLReader.h"
#include "vela/CIMUtil.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaBaseException.h"

VELSmrPtr<IVelaObject> CIMUtil::parseEmbeddedInstance(const VELString& text) {
    // Parsed in place, so on a copy.
    std::string buffer(text.view());
    try {
        tarn::CIMXMLDocument document(buffer.data(), buffer.size());
        tarn::CIMXMLReader reader;
        pugi::xml_node root = document.root();
        if (std::string_view(root.name()) != VELCIMStrings::ELEMENT_INSTANCE.view()) {
            reader.fail(root, "the text is <" + VELString(root.name()).substring(0, 64) +
                                  ">, not an <INSTANCE> element");
        }
        return reader.readInstance(root);
    } catch (const VelaBaseException& e) {
        throw VelaBaseException("InvalidData", "CIMUtil", "parseEmbeddedInstance",
                                "not a CIM-XML instance: " + e.getMessage(), 4);
    }
}
