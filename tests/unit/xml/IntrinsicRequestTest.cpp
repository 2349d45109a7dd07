// Intrinsic requests as pretty-printing clients write them.
#include <gtest/gtest.h>

#include <functional>

#include "RequestBuilder.h"
#include "tarn/IQualifierDef.h"
#include "tarn/QualifierFlavor.h"
#include "vela/CVelaClass.h"
#include "vela/CVelaType.h"
#include "vela/IVelaClass.h"
#include "vela/VELCIMStrings.h"

using namespace xmltest;
using S = VELCIMStrings;

namespace {

const std::string kComputerSystemName =
    "<INSTANCENAME CLASSNAME=\"CIM_ComputerSystem\">"
    "<KEYBINDING NAME=\"CreationClassName\"><KEYVALUE VALUETYPE=\"string\">CIM_ComputerSystem"
    "</KEYVALUE></KEYBINDING>"
    "<KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">host1.example.com</KEYVALUE>"
    "</KEYBINDING></INSTANCENAME>";

const std::string kPropertyList =
    "<VALUE.ARRAY><VALUE>Name</VALUE><VALUE>ElementName</VALUE></VALUE.ARRAY>";

VELSmrPtr<IVelaValue> valueOf(const VELCIMMethodCall& c, const VELString& name) {
    VELSmrPtr<VELCIMParamValue> p = c.getParameterByName(name);
    if (p.isNull()) {
        ADD_FAILURE() << "no parameter " << name;
        return nullptr;
    }
    return p->getValue();
}

void expectPropertyList(const VELCIMMethodCall& c) {
    VELSmrPtr<IVelaValue> v = valueOf(c, S::PROPERTYLIST);
    ASSERT_FALSE(v.isNull());
    ASSERT_TRUE(v->getType()->isArray());
    EXPECT_TRUE(v->isUntyped());
    auto list = v->getArray();
    ASSERT_EQ(list->entries(), 2u);
    EXPECT_EQ(list->at(0)->getString(), "Name");
    EXPECT_EQ(list->at(1)->getString(), "ElementName");
}

void expectComputerSystem(const VELSmrPtr<IVelaInstanceName>& name) {
    ASSERT_FALSE(name.isNull());
    EXPECT_FALSE(name->isClassName());
    EXPECT_EQ(name->getClassName(), "CIM_ComputerSystem");
    ASSERT_EQ(name->getKeyBindingCount(), 2u);
    EXPECT_EQ(name->getKeyBinding(1)->getPropertyName(), "Name");
    const auto& key = name->getKeyBinding(1)->getValue();
    EXPECT_TRUE(key->isUntyped());
    EXPECT_EQ(key->getTypeHint(), "string");
    EXPECT_EQ(key->getString(), "host1.example.com");
    EXPECT_EQ(name->toString(),
              "CIM_ComputerSystem.creationclassname=\"CIM_ComputerSystem\",name=\"host1.example."
              "com\"");
}

void expectReference(const VELCIMMethodCall& c, const VELString& name) {
    VELSmrPtr<IVelaValue> v = valueOf(c, name);
    ASSERT_FALSE(v.isNull());
    ASSERT_TRUE(v->getType()->isReference());
    expectComputerSystem(v->getReference());
}

struct IntrinsicCase {
    const char* method;
    std::string params;
    std::size_t paramCount;
    std::function<void(const VELCIMMethodCall&)> check;
};

// Pretty-printed requests (line breaks and indentation between elements,
// CRLF line ends, comments) parse the same as compact ones.
TEST(IntrinsicRequest, WhitespaceAndCommentsBetweenElements) {
    std::string body =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
        "<!-- a client's comment -->\r\n"
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\r\n"
        "  <MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">\r\n"
        "    <SIMPLEREQ>\r\n"
        "      <IMETHODCALL NAME=\"GetInstance\">\r\n"
        "        <LOCALNAMESPACEPATH>\r\n"
        "          <NAMESPACE NAME=\"root\"/>\r\n"
        "          <NAMESPACE NAME=\"cimv2\"/>\r\n"
        "        </LOCALNAMESPACEPATH>\r\n"
        "        <IPARAMVALUE NAME=\"InstanceName\">\r\n"
        "          <INSTANCENAME CLASSNAME=\"CIM_ComputerSystem\">\r\n"
        "            <KEYBINDING NAME=\"CreationClassName\">\r\n"
        "              <KEYVALUE VALUETYPE=\"string\">CIM_ComputerSystem</KEYVALUE>\r\n"
        "            </KEYBINDING>\r\n"
        "            <!-- the second key -->\r\n"
        "            <KEYBINDING NAME=\"Name\">\r\n"
        "              <KEYVALUE>host1.example.com</KEYVALUE>\r\n"
        "            </KEYBINDING>\r\n"
        "          </INSTANCENAME>\r\n"
        "        </IPARAMVALUE>\r\n"
        "        <IPARAMVALUE NAME=\"PropertyList\">\r\n"
        "          <VALUE.ARRAY>\r\n"
        "            <VALUE>Name</VALUE>\r\n"
        "            <VALUE><![CDATA[Element]]>Name</VALUE>\r\n"
        "          </VALUE.ARRAY>\r\n"
        "        </IPARAMVALUE>\r\n"
        "      </IMETHODCALL>\r\n"
        "    </SIMPLEREQ>\r\n"
        "  </MESSAGE>\r\n"
        "</CIM>\r\n";
    VELCIMMessage m(body);
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    const VELCIMMethodCall& c = *m.getSimpleRequestList()->at(0);
    expectReference(c, S::INSTANCENAME);
    expectPropertyList(c);
}

}  // namespace
