// Extrinsic method calls: parameter content that must fit its type, and
// export requests.
#include <gtest/gtest.h>

#include "RequestBuilder.h"
#include "vela/VELCIMStrings.h"

using namespace xmltest;
using S = VELCIMStrings;

namespace {

const std::string kServiceTarget =
    "<LOCALINSTANCEPATH>" + localNameSpace("root/cimv2") +
    "<INSTANCENAME CLASSNAME=\"CIM_Service\">"
    "<KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">sshd</KEYVALUE></KEYBINDING>"
    "<KEYBINDING NAME=\"SystemName\"><KEYVALUE VALUETYPE=\"string\">host1</KEYVALUE></KEYBINDING>"
    "</INSTANCENAME></LOCALINSTANCEPATH>";

// Parameters whose content does not fit their PARAMTYPE are not valid CIM-XML.
TEST(ExtrinsicRequest, ContentMustFitParamType) {
    const char* cases[] = {
        "<PARAMVALUE NAME=\"A\" PARAMTYPE=\"uint32\"><VALUE.REFERENCE><CLASSNAME NAME=\"X\"/>"
        "</VALUE.REFERENCE></PARAMVALUE>",
        "<PARAMVALUE NAME=\"A\" PARAMTYPE=\"string\"><INSTANCE CLASSNAME=\"X\"/></PARAMVALUE>",
        "<PARAMVALUE NAME=\"A\" PARAMTYPE=\"reference\"><VALUE.ARRAY/></PARAMVALUE>",
        "<PARAMVALUE NAME=\"A\" PARAMTYPE=\"uint8\" "
        "EmbeddedObject=\"instance\"><VALUE/></PARAMVALUE>",
        "<PARAMVALUE NAME=\"A\" PARAMTYPE=\"uint8\"><VALUE>300</VALUE></PARAMVALUE>",
        "<PARAMVALUE NAME=\"A\" PARAMTYPE=\"string\"><CLASSNAME NAME=\"X\"/></PARAMVALUE>",
    };
    for (const char* p : cases) {
        VELCIMMessage m(extrinsic("M", kServiceTarget, p));
        EXPECT_FALSE(m.isWellFormed()) << p;
        EXPECT_TRUE(m.getErrorText().contains("PARAMVALUE \"A\"")) << m.getErrorText();
    }
}

TEST(ExtrinsicRequest, ExportIndication) {
    std::string indication =
        "<INSTANCE CLASSNAME=\"CIM_AlertIndication\">" +
        property("Message", "string", "disk full") + property("PerceivedSeverity", "uint16", "6") +
        "<PROPERTY NAME=\"IndicationTime\" TYPE=\"datetime\"><VALUE>20240301120000.000000+000"
        "</VALUE></PROPERTY></INSTANCE>";
    std::string one =
        "<SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\">"
        "<EXPPARAMVALUE NAME=\"NewIndication\">" +
        indication + "</EXPPARAMVALUE></EXPMETHODCALL></SIMPLEEXPREQ>";
    VELCIMMessage m(message(one));
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    EXPECT_TRUE(m.getSimpleRequestList().isNull());
    ASSERT_FALSE(m.getSimpleExportRequestList().isNull());
    EXPECT_FALSE(m.isMultiRequest());
    const VELCIMMethodCall& c = *m.getSimpleExportRequestList()->at(0);
    EXPECT_TRUE(c.isExport());
    EXPECT_FALSE(c.isIntrinsic());
    EXPECT_EQ(c.getMethodName(), S::EXPORTINDICATION);
    auto v = c.getParameterByName(S::NEWINDICATION)->getValue();
    EXPECT_EQ(v->getObject()->getClassName(), "CIM_AlertIndication");
    EXPECT_EQ(v->getObject()->getProperty("PerceivedSeverity")->getValue()->getUnsigned(), 6u);
    // MULTIEXPREQ: AdapterRequestTest (tests/unit/adapter).
}

}  // namespace
