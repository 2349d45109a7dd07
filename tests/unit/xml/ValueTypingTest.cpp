// Values that do not fit their declared type, and embedded objects that are
// malformed or nested too deep, are rejected.
#include <gtest/gtest.h>

#include "RequestBuilder.h"
#include "vela/VELCIMStrings.h"

using namespace xmltest;
using S = VELCIMStrings;

namespace {

// The instance of a CreateInstance request with the given properties.
VELSmrPtr<IVelaObject> created(const std::string& properties, VELString* error = nullptr) {
    VELCIMMessage m(
        intrinsic("CreateInstance", iparam("NewInstance", instance("TST_All", properties))));
    if (error) {
        *error = m.getErrorText();
    }
    if (!m.isWellFormed()) {
        return nullptr;
    }
    return m.getSimpleRequestList()
        ->at(0)
        ->getParameterByName(S::NEWINSTANCE)
        ->getValue()
        ->getObject();
}

// A value that does not fit its declared type is rejected, and the reason
// names the element, the property and the type.
TEST(ValueTyping, ValuesThatDoNotFitTheirTypeAreRejected) {
    struct Bad {
        const char* type;
        const char* text;
    } cases[] = {
        // Each text form of every type is ValueText's (tests/unit/cim); here
        // empty values and one of each kind, in their place in a request.
        {"boolean", ""},      {"uint8", "256"}, {"uint32", ""},
        {"real64", "twelve"}, {"char16", ""},   {"datetime", "2024-03-01"},
    };
    for (const Bad& c : cases) {
        SCOPED_TRACE(std::string(c.type) + " '" + c.text + "'");
        VELString error;
        EXPECT_TRUE(created(property("Size", c.type, c.text), &error).isNull());
        EXPECT_TRUE(error.contains("PROPERTY \"Size\"")) << error;
        EXPECT_TRUE(error.contains(std::string("valid ") + c.type)) << error;
        EXPECT_TRUE(error.contains("(at byte ")) << error;
    }
    VELString error;
    EXPECT_TRUE(created(property("P", "uint33", "1"), &error).isNull());
    EXPECT_TRUE(error.contains("\"uint33\", which is not a CIM type")) << error;
    EXPECT_TRUE(created("<PROPERTY NAME=\"P\"/>", &error).isNull());
    EXPECT_TRUE(error.contains("<PROPERTY> lacks its TYPE attribute")) << error;
}

TEST(ValueTyping, BadEmbeddedObjectsAreRejected) {
    struct Case {
        std::string property;
        const char* reason;
    } cases[] = {
        {"<PROPERTY NAME=\"E\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>not xml</VALUE>"
         "</PROPERTY>",
         "PROPERTY \"E\": the embedded object is not valid CIM-XML"},
        {"<PROPERTY NAME=\"E\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>" +
             escaped("<CLASS NAME=\"C\"/>") + "</VALUE></PROPERTY>",
         "not <INSTANCE>"},
        {"<PROPERTY NAME=\"E\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>" +
             escaped("<INSTANCE CLASSNAME=\"C\"><BAD/></INSTANCE>") + "</VALUE></PROPERTY>",
         "<BAD> is not allowed here in <INSTANCE>"},
        {"<PROPERTY NAME=\"E\" TYPE=\"uint32\" EmbeddedObject=\"instance\"><VALUE/></PROPERTY>",
         "cannot hold an embedded object"},
        {"<PROPERTY NAME=\"E\" TYPE=\"string\" EmbeddedObject=\"thing\"><VALUE/></PROPERTY>",
         "not object or instance"},
    };
    for (const Case& c : cases) {
        VELString error;
        EXPECT_TRUE(created(c.property, &error).isNull()) << c.property;
        EXPECT_TRUE(error.contains(c.reason)) << error;
    }
}

TEST(ValueTyping, EmbeddingDepthIsBounded) {
    std::string text = instance("TST_Leaf", "");
    for (int level = 0; level < 12; ++level) {
        text = instance("TST_Level",
                        "<PROPERTY NAME=\"E\" TYPE=\"string\" EmbeddedObject="
                        "\"instance\"><VALUE>" +
                            escaped(text) + "</VALUE></PROPERTY>");
    }
    VELString error;
    EXPECT_TRUE(created("<PROPERTY NAME=\"E\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>" +
                            escaped(text) + "</VALUE></PROPERTY>",
                        &error)
                    .isNull());
    EXPECT_TRUE(error.contains("embedded objects nested more than 8 levels deep")) << error;
}

}  // namespace
