// Extrinsic method calls (on instances and on classes) and export requests.
#include <gtest/gtest.h>

#include "RequestBuilder.h"
#include "vela/IVelaNameSpacePath.h"
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

const VELCIMMethodCall& onlyCall(const VELCIMMessage& m) {
    EXPECT_TRUE(m.isWellFormed()) << m.getErrorText();
    if (m.getSimpleRequestList().isNull() || m.getSimpleRequestList()->entries() != 1) {
        throw std::runtime_error("no single request: " + m.getErrorText().str());
    }
    return *m.getSimpleRequestList()->at(0);
}

// A client that sends PARAMTYPE for each parameter.
TEST(ExtrinsicRequest, InstanceTargetAndTypedParameters) {
    std::string params =
        "<PARAMVALUE NAME=\"RequestedState\" PARAMTYPE=\"uint16\"><VALUE>3</VALUE></PARAMVALUE>"
        "<PARAMVALUE NAME=\"TimeoutPeriod\" PARAMTYPE=\"datetime\">"
        "<VALUE>00000000000030.000000:000</VALUE></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Force\" PARAMTYPE=\"boolean\"><VALUE>true</VALUE></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Tags\" PARAMTYPE=\"string\"><VALUE.ARRAY><VALUE>a</VALUE>"
        "<VALUE>b c</VALUE></VALUE.ARRAY></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Optional\" PARAMTYPE=\"uint32\"/>";
    VELCIMMessage m(extrinsic("RequestStateChange", kServiceTarget, params));
    const VELCIMMethodCall& c = onlyCall(m);
    EXPECT_FALSE(c.isIntrinsic());
    EXPECT_FALSE(c.isExport());
    EXPECT_EQ(c.getMethodName(), "RequestStateChange");
    EXPECT_EQ(c.getNameSpace(), "root/cimv2");

    // The target, offered as ObjectName, is not among the method's parameters.
    VELSmrPtr<VELCIMParamValue> target = c.getParameterByName(S::OBJECTNAME);
    ASSERT_FALSE(target.isNull());
    EXPECT_EQ(target, c.getTarget());
    EXPECT_EQ(target->getInternalTypeName(), "reference");
    ASSERT_TRUE(target->getValue()->getType()->isReference());
    VELSmrPtr<IVelaInstanceName> name = target->getValue()->getReference();
    EXPECT_FALSE(name->isClassName());
    EXPECT_EQ(name->toString(), "root/cimv2:CIM_Service.name=\"sshd\",systemname=\"host1\"");
    ASSERT_EQ(c.getParameterListPtr()->entries(), 5u);

    struct Expect {
        const char* name;
        const char* typeName;
        CIMTypeId type;
        bool array;
        const char* text;
    } expected[] = {
        {"RequestedState", "uint16", CIMTypeId::UInt16, false, "3"},
        {"TimeoutPeriod", "datetime", CIMTypeId::DateTime, false, "00000000000030.000000:000"},
        {"Force", "boolean", CIMTypeId::Boolean, false, "TRUE"},
        {"Tags", "string", CIMTypeId::String, true, "{a,b c}"},
        {"Optional", "uint32", CIMTypeId::UInt32, false, ""},
    };
    for (std::size_t i = 0; i < 5; ++i) {
        const VELCIMParamValue& p = *c.getParameterListPtr()->at(i);
        SCOPED_TRACE(expected[i].name);
        EXPECT_EQ(p.getName(), expected[i].name);
        EXPECT_FALSE(p.isUnknownType());
        EXPECT_EQ(p.getInternalTypeName(), expected[i].typeName);
        ASSERT_FALSE(p.getValue().isNull());
        EXPECT_FALSE(p.getValue()->isUntyped());
        EXPECT_EQ(p.getType()->getTypeId(), expected[i].type);
        EXPECT_EQ(p.getType()->isArray(), expected[i].array);
        EXPECT_EQ(p.getValue()->toString(), expected[i].text);
    }
    EXPECT_FALSE(c.getParameterListPtr()->at(4)->getValue()->isSet());
}

// A client that sends no PARAMTYPE: the values stay untyped text until the
// method's definition types them.
TEST(ExtrinsicRequest, ParametersWithoutTypeStayUntyped) {
    std::string params =
        "<PARAMVALUE NAME=\"RequestedState\"><VALUE>3</VALUE></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Names\"><VALUE.ARRAY><VALUE>x</VALUE><VALUE.NULL/></VALUE.ARRAY>"
        "</PARAMVALUE>"
        "<PARAMVALUE NAME=\"Nothing\"/>";
    VELCIMMessage m(extrinsic("RequestStateChange", kServiceTarget, params));
    const VELCIMMethodCall& c = onlyCall(m);
    ASSERT_EQ(c.getParameterListPtr()->entries(), 3u);
    auto state = c.getParameterByName("RequestedState");
    EXPECT_TRUE(state->getValue()->isUntyped());
    EXPECT_TRUE(state->getInternalTypeName().isNull());
    EXPECT_EQ(c.getParameterValueByName("RequestedState"), "3");
    auto names = c.getParameterByName("Names")->getValue();
    EXPECT_TRUE(names->isUntyped());
    EXPECT_EQ(names->toString(), "{x,NULL}");
    EXPECT_TRUE(c.getParameterByName("Nothing")->getValue().isNull());
}

TEST(ExtrinsicRequest, UnknownParamTypeIsFlaggedNotRejected) {
    std::string params =
        "<PARAMVALUE NAME=\"Level\" PARAMTYPE=\"uint31\"><VALUE>7</VALUE></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Other\" PARAMTYPE=\"void\"><VALUE>x</VALUE></PARAMVALUE>";
    VELCIMMessage m(extrinsic("Set", kServiceTarget, params));
    const VELCIMMethodCall& c = onlyCall(m);
    for (const char* name : {"Level", "Other"}) {
        auto p = c.getParameterByName(name);
        ASSERT_FALSE(p.isNull()) << name;
        EXPECT_TRUE(p->isUnknownType()) << name;
        EXPECT_TRUE(p->getValue()->isUntyped()) << name;
    }
    EXPECT_EQ(c.getParameterByName("Level")->getInternalTypeName(), "uint31");
    EXPECT_EQ(c.getParameterValueByName("Level"), "7");
}

TEST(ExtrinsicRequest, ClassTargetIsAClassOnlyName) {
    std::string target = "<LOCALCLASSPATH>" + localNameSpace("root/interop") +
                         "<CLASSNAME NAME=\"CIM_IndicationService\"/></LOCALCLASSPATH>";
    VELCIMMessage m(extrinsic("SendTestIndication", target, ""));
    const VELCIMMethodCall& c = onlyCall(m);
    EXPECT_EQ(c.getNameSpace(), "root/interop");
    EXPECT_EQ(c.getParameterListPtr()->entries(), 0u);
    VELSmrPtr<IVelaValue> v = c.getParameterByName(S::OBJECTNAME)->getValue();
    ASSERT_TRUE(v->getType()->isReference());
    VELSmrPtr<IVelaInstanceName> name = v->getReference();
    EXPECT_TRUE(name->isClassName());
    EXPECT_EQ(name->getClassName(), "CIM_IndicationService");
    EXPECT_EQ(name->getKeyBindingCount(), 0u);
    EXPECT_EQ(name->getNameSpacePath()->getNameSpace(), "root/interop");
}

TEST(ExtrinsicRequest, ReferenceAndObjectParameters) {
    std::string ref =
        "<VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"CIM_Account\">"
        "<KEYBINDING NAME=\"Name\"><KEYVALUE>root</KEYVALUE></KEYBINDING>"
        "</INSTANCENAME></VALUE.REFERENCE>";
    std::string embedded = escaped(instance("CIM_Setting", property("Value", "uint32", "5")));
    std::string params =
        "<PARAMVALUE NAME=\"Account\" PARAMTYPE=\"reference\">" + ref +
        "</PARAMVALUE>"
        "<PARAMVALUE NAME=\"Untyped\">" +
        ref +
        "</PARAMVALUE>"
        "<PARAMVALUE NAME=\"Accounts\" PARAMTYPE=\"reference\"><VALUE.REFARRAY>" +
        ref + "<VALUE.NULL/>" + ref +
        "</VALUE.REFARRAY></PARAMVALUE>"
        "<PARAMVALUE NAME=\"ByName\" PARAMTYPE=\"reference\"><INSTANCENAME "
        "CLASSNAME=\"CIM_Account\"><KEYBINDING NAME=\"Name\"><KEYVALUE>x</KEYVALUE></KEYBINDING>"
        "</INSTANCENAME></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Setting\" PARAMTYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>" +
        embedded +
        "</VALUE></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Direct\" PARAMTYPE=\"instance\">" +
        instance("CIM_Setting", property("Value", "uint32", "6")) +
        "</PARAMVALUE>"
        "<PARAMVALUE NAME=\"AsObject\" PARAMTYPE=\"object\"><VALUE>" +
        embedded + "</VALUE></PARAMVALUE>";
    VELCIMMessage m(extrinsic("Assign", kServiceTarget, params));
    const VELCIMMethodCall& c = onlyCall(m);
    for (const char* n : {"Account", "Untyped", "ByName"}) {
        auto p = c.getParameterByName(n);
        ASSERT_TRUE(p->getType()->isReference()) << n;
        EXPECT_EQ(p->getInternalTypeName(), "reference") << n;
        EXPECT_EQ(p->getValue()->getReference()->getClassName(), "CIM_Account") << n;
    }
    auto accounts = c.getParameterByName("Accounts")->getValue();
    EXPECT_TRUE(accounts->getType()->isReference());
    EXPECT_TRUE(accounts->getType()->isArray());
    EXPECT_EQ(accounts->toString(), "{CIM_Account.name=\"root\",NULL,CIM_Account.name=\"root\"}");
    for (const char* n : {"Setting", "Direct", "AsObject"}) {
        auto v = c.getParameterByName(n)->getValue();
        ASSERT_TRUE(v->getType()->isEmbeddedObject()) << n;
        EXPECT_TRUE(v->getType()->isInstance()) << n;
        EXPECT_EQ(v->getObject()->getClassName(), "CIM_Setting") << n;
        // No text form: the value is an object.
        EXPECT_TRUE(c.getParameterValueByName(n).isNull()) << n;
    }
    EXPECT_EQ(c.getParameterByName("Setting")
                  ->getValue()
                  ->getObject()
                  ->getProperty("Value")
                  ->getValue()
                  ->getUnsigned(),
              5u);
    EXPECT_TRUE(
        c.getParameterByName("AsObject")->getValue()->getType()->isEmbeddedObjectQualified());
    EXPECT_FALSE(
        c.getParameterByName("Setting")->getValue()->getType()->isEmbeddedObjectQualified());
}

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

    VELCIMMessage multi(message("<MULTIEXPREQ>" + one + one + "</MULTIEXPREQ>"));
    ASSERT_TRUE(multi.isWellFormed()) << multi.getErrorText();
    EXPECT_TRUE(multi.isMultiRequest());
    EXPECT_EQ(multi.getSimpleExportRequestList()->entries(), 2u);
}

}  // namespace
