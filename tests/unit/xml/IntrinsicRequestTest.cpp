// Intrinsic requests as pretty-printing clients write them.
#include <gtest/gtest.h>

#include "RequestBuilder.h"
#include "vela/CVelaType.h"
#include "vela/VELCIMStrings.h"

using namespace xmltest;
using S = VELCIMStrings;

namespace {

// Pretty-printed requests (line breaks and indentation between all elements,
// CRLF line ends, comments, CDATA) parse the same as compact ones.
TEST(IntrinsicRequest, WhitespaceAndCommentsBetweenElements) {
    std::string body =
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLEREQ><IMETHODCALL NAME=\"GetInstance\">" +
        localNameSpace("root/cimv2") +
        "<IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME CLASSNAME=\"CIM_ComputerSystem\">"
        "<KEYBINDING NAME=\"CreationClassName\"><KEYVALUE VALUETYPE=\"string\">CIM_ComputerSystem"
        "</KEYVALUE></KEYBINDING><!-- the second key --><KEYBINDING NAME=\"Name\"><KEYVALUE>"
        "host1.example.com</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>"
        "<IPARAMVALUE NAME=\"PropertyList\"><VALUE.ARRAY><VALUE>Name</VALUE>"
        "<VALUE><![CDATA[Element]]>Name</VALUE></VALUE.ARRAY></IPARAMVALUE></IMETHODCALL>"
        "</SIMPLEREQ></MESSAGE></CIM>\r\n";
    for (std::size_t at = body.find("><"); at != std::string::npos; at = body.find("><", at + 1)) {
        body.replace(at, 2, ">\r\n    <");
    }
    body = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- a client's comment -->\r\n" + body;
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
