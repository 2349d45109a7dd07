// Intrinsic requests as pretty-printing clients write them.
#include <gtest/gtest.h>

#include "RequestBuilder.h"
#include "vela/CVelaType.h"
#include "vela/VELCIMStrings.h"

using namespace xmltest;
using S = VELCIMStrings;

namespace {

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
    VELSmrPtr<IVelaValue> ref = c.getParameterByName(S::INSTANCENAME)->getValue();
    ASSERT_TRUE(ref->getType()->isReference());
    VELSmrPtr<IVelaInstanceName> name = ref->getReference();
    ASSERT_EQ(name->getKeyBindingCount(), 2u);
    const auto& key = name->getKeyBinding(1)->getValue();
    EXPECT_TRUE(key->isUntyped());
    EXPECT_EQ(key->getTypeHint(), "string");
    EXPECT_EQ(name->toString(),
              "CIM_ComputerSystem.creationclassname=\"CIM_ComputerSystem\",name=\"host1.example."
              "com\"");
    VELSmrPtr<IVelaValue> list = c.getParameterByName(S::PROPERTYLIST)->getValue();
    ASSERT_TRUE(list->getType()->isArray());
    EXPECT_TRUE(list->isUntyped());
    ASSERT_EQ(list->getArray()->entries(), 2u);
    EXPECT_EQ(list->getArray()->at(0)->getString(), "Name");
    EXPECT_EQ(list->getArray()->at(1)->getString(), "ElementName");
}

}  // namespace
