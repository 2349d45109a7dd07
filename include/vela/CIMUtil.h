// CIMUtil: helpers on CIM text and schema used by the protocol adapters.
#pragma once

#include <ostream>
#include <string_view>

#include "tarn/IPropertyDef.h"
#include "vela/IVelaObject.h"
#include "vela/VELString.h"

class CIMUtil {
  public:
    // The boolean qualifier that marks a string key property as holding an
    // object path ("reference-qualified"): such a key carries a reference as
    // text, for classes whose keys must stay strings. TARN's schema declares
    // it with scope property, flavor DisableOverride ToSubclass.
    static const VELString REFERENCE_KEY_QUALIFIER;  // "TARN_ReferenceKey"

    // Escapes text for XML content and attribute values: & < > " ' become
    // &amp; &lt; &gt; &quot; &apos;, and CR becomes &#13; so that it survives
    // line-end normalisation. Characters that XML 1.0 cannot carry at all
    // (C0 controls other than tab and line feed, U+FFFE, U+FFFF) and bytes
    // that are not valid UTF-8 are replaced by U+FFFD, so that the document
    // always stays well-formed. Text that needs none of this is returned as it is.
    static VELString xmlEncode(const VELString& text);
    // The same, written to a stream without building a string.
    static void xmlEncode(std::ostream& os, std::string_view text);
    // True when xmlEncode would change the text.
    static bool needsXmlEncoding(std::string_view text);

    // True when the class (looked up in the installed tarn::ISchemaCatalog) declares the
    // property as a string key marked with REFERENCE_KEY_QUALIFIER.
    static bool isReferenceQualified(const VELString& nameSpace, const VELString& className,
                                     const VELString& propertyName);
    static bool isReferenceQualified(const tarn::IPropertyDef& def);
    // True when the class declares the property with an EmbeddedInstance or
    // EmbeddedObject qualifier.
    static bool isEmbeddedQualified(const VELString& nameSpace, const VELString& className,
                                    const VELString& propertyName);
    static bool isEmbeddedQualified(const tarn::IPropertyDef& def);

    // Parses CIM-XML INSTANCE text (the content of an embedded instance) into
    // an instance. Throws VelaBaseException ("InvalidData") saying why the
    // text is not an INSTANCE element.
    static VELSmrPtr<IVelaObject> parseEmbeddedInstance(const VELString& text);
};
