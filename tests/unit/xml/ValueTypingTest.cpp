// How each value form is typed: declared types (TYPE, PARAMTYPE) are parsed
// and checked; values without one stay untyped text with their hint.
#include <gtest/gtest.h>

#include "RequestBuilder.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaType.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaNameSpacePath.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaBaseException.h"

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

struct TypedCase {
    const char* type;
    CIMTypeId id;
    const char* text;
    const char* printed;
};

const TypedCase kTyped[] = {
    {"boolean", CIMTypeId::Boolean, "true", "TRUE"},
    {"string", CIMTypeId::String, " a &lt;b&gt; \xC3\xA9 ", " a <b> \xC3\xA9 "},
    {"char16", CIMTypeId::Char16, "\xE2\x82\xAC", "\xE2\x82\xAC"},
    {"datetime", CIMTypeId::DateTime, "20240229235959.123456-300", "20240229235959.123456-300"},
    {"uint8", CIMTypeId::UInt8, "255", "255"},
    {"sint8", CIMTypeId::SInt8, "-128", "-128"},
    {"uint16", CIMTypeId::UInt16, "0x10", "16"},
    {"sint16", CIMTypeId::SInt16, "-32768", "-32768"},
    {"uint32", CIMTypeId::UInt32, " 4294967295 ", "4294967295"},
    {"sint32", CIMTypeId::SInt32, "-2147483648", "-2147483648"},
    {"uint64", CIMTypeId::UInt64, "18446744073709551615", "18446744073709551615"},
    {"sint64", CIMTypeId::SInt64, "-9223372036854775808", "-9223372036854775808"},
    {"real32", CIMTypeId::Real32, "1.5e3", "1500"},
    {"real64", CIMTypeId::Real64, "-2.5E-3", "-0.0025"},
};

TEST(ValueTyping, EveryTypeAsPropertyParameterAndKey) {
    for (const TypedCase& c : kTyped) {
        SCOPED_TRACE(c.type);
        // Property of an instance.
        VELSmrPtr<IVelaObject> i = created(property("P", c.type, c.text));
        ASSERT_FALSE(i.isNull());
        auto p = i->getProperty("P");
        EXPECT_EQ(p->getType()->getTypeId(), c.id);
        EXPECT_FALSE(p->getValue()->isUntyped());
        EXPECT_EQ(p->getValue()->toString(), c.printed);

        // Array property: each element typed, nulls kept.
        i = created("<PROPERTY.ARRAY NAME=\"A\" TYPE=\"" + std::string(c.type) +
                    "\"><VALUE.ARRAY><VALUE>" + c.text + "</VALUE><VALUE.NULL/><VALUE>" + c.text +
                    "</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>");
        ASSERT_FALSE(i.isNull());
        auto a = i->getProperty("A")->getValue();
        EXPECT_TRUE(a->getType()->isArray());
        EXPECT_EQ(a->getType()->getTypeId(), c.id);
        ASSERT_EQ(a->getArraySize(), 3u);
        EXPECT_EQ(a->getArray()->at(0)->toString(), c.printed);
        EXPECT_FALSE(a->getArray()->at(1)->isSet());

        // Typed method parameter.
        VELCIMMessage m(extrinsic("M",
                                  "<LOCALCLASSPATH>" + localNameSpace("root") +
                                      "<CLASSNAME NAME=\"C\"/></LOCALCLASSPATH>",
                                  "<PARAMVALUE NAME=\"X\" PARAMTYPE=\"" + std::string(c.type) +
                                      "\"><VALUE>" + c.text + "</VALUE></PARAMVALUE>"));
        ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
        auto x = m.getSimpleRequestList()->at(0)->getParameterByName("X");
        EXPECT_EQ(x->getType()->getTypeId(), c.id);
        EXPECT_EQ(x->getValueAsString(), c.printed);

        // Key value with a TYPE.
        VELCIMMessage k(
            intrinsic("GetInstance", iparam("InstanceName",
                                            "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING "
                                            "NAME=\"K\"><KEYVALUE TYPE=\"" +
                                                std::string(c.type) + "\">" + c.text +
                                                "</KEYVALUE></KEYBINDING></INSTANCENAME>")));
        ASSERT_TRUE(k.isWellFormed()) << k.getErrorText();
        auto key = k.getSimpleRequestList()
                       ->at(0)
                       ->getParameterByName(S::INSTANCENAME)
                       ->getValue()
                       ->getReference()
                       ->getKeyBinding(0)
                       ->getValue();
        EXPECT_EQ(key->getType()->getTypeId(), c.id);
        EXPECT_FALSE(key->isUntyped());
        EXPECT_EQ(key->toString(), c.printed);
    }
}

// A value that does not fit its declared type is rejected, and the reason
// names the element, the property and the type.
TEST(ValueTyping, ValuesThatDoNotFitTheirTypeAreRejected) {
    struct Bad {
        const char* type;
        const char* text;
    } cases[] = {
        {"boolean", "yes"},
        {"boolean", ""},
        {"uint8", "256"},
        {"sint8", "-129"},
        {"uint16", "-1"},
        {"uint32", "12abc"},
        {"uint32", ""},
        {"sint64", "9223372036854775808"},
        {"uint64", "1.5"},
        {"real32", "1e39"},
        {"real64", "twelve"},
        {"char16", "ab"},
        {"char16", ""},
        {"datetime", "2024-03-01"},
        {"datetime", "20241301000000.000000+000"},
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

TEST(ValueTyping, PropertyWithoutValueIsUnsetOfItsType) {
    VELSmrPtr<IVelaObject> i = created(
        "<PROPERTY NAME=\"S\" TYPE=\"sint16\"/><PROPERTY.ARRAY NAME=\"A\" TYPE=\"string\"/>"
        "<PROPERTY.REFERENCE NAME=\"R\" REFERENCECLASS=\"CIM_X\"/>"
        "<PROPERTY NAME=\"E\" TYPE=\"string\"><VALUE></VALUE></PROPERTY>"
        "<PROPERTY.ARRAY NAME=\"Empty\" TYPE=\"uint8\"><VALUE.ARRAY/></PROPERTY.ARRAY>");
    ASSERT_FALSE(i.isNull());
    EXPECT_EQ(i->getProperty("S")->getType()->getTypeId(), CIMTypeId::SInt16);
    EXPECT_FALSE(i->getProperty("S")->getValue()->isSet());
    EXPECT_TRUE(i->getProperty("A")->getType()->isArray());
    EXPECT_TRUE(i->getProperty("A")->getValue().isNull());  // how a NULL array is held
    EXPECT_EQ(i->getProperty("R")->getType()->getReferenceClassName(), "CIM_X");
    EXPECT_FALSE(i->getProperty("R")->getValue()->isSet());
    // An empty VALUE is an empty string, an empty VALUE.ARRAY an empty array.
    EXPECT_TRUE(i->getProperty("E")->getValue()->isSet());
    EXPECT_EQ(i->getProperty("E")->getValue()->getString(), "");
    EXPECT_TRUE(i->getProperty("Empty")->getValue()->isSet());
    EXPECT_EQ(i->getProperty("Empty")->getValue()->getArraySize(), 0u);
}

TEST(ValueTyping, KeyValuesWithoutTypeStayUntypedWithTheirHint) {
    VELCIMMessage m(intrinsic(
        "GetInstance",
        iparam("InstanceName",
               "<INSTANCENAME CLASSNAME=\"TST_Key\">"
               "<KEYBINDING NAME=\"S\"><KEYVALUE VALUETYPE=\"string\"> 42 </KEYVALUE></KEYBINDING>"
               "<KEYBINDING NAME=\"N\"><KEYVALUE VALUETYPE=\"numeric\">42</KEYVALUE></KEYBINDING>"
               "<KEYBINDING NAME=\"B\"><KEYVALUE VALUETYPE=\"boolean\">true</KEYVALUE></KEYBINDING>"
               "<KEYBINDING NAME=\"D\"><KEYVALUE>default hint</KEYVALUE></KEYBINDING>"
               "</INSTANCENAME>")));
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    auto name = m.getSimpleRequestList()
                    ->at(0)
                    ->getParameterByName(S::INSTANCENAME)
                    ->getValue()
                    ->getReference();
    struct Expect {
        const char* key;
        const char* hint;
        const char* text;
    } expected[] = {{"S", "string", " 42 "},
                    {"N", "numeric", "42"},
                    {"B", "boolean", "true"},
                    {"D", "string", "default hint"}};
    ASSERT_EQ(name->getKeyBindingCount(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        auto v = name->getKeyBinding(i)->getValue();
        EXPECT_EQ(name->getKeyBinding(i)->getPropertyName(), expected[i].key);
        EXPECT_TRUE(v->isUntyped());
        EXPECT_EQ(v->getTypeHint(), expected[i].hint);
        EXPECT_EQ(v->getString(), expected[i].text);
    }
    // Untyped values become typed through the class definition.
    EXPECT_EQ(
        CVelaValue::convertTo(name->getKeyBinding(1)->getValue(), CVelaType::uint16)->getUnsigned(),
        42u);
    EXPECT_EQ(name->toString(), "TST_Key.b=TRUE,d=\"default hint\",n=42,s=\" 42 \"");
}

TEST(ValueTyping, KeyValueTypeMustFitItsValueType) {
    VELCIMMessage m(
        intrinsic("GetInstance", iparam("InstanceName",
                                        "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"K\">"
                                        "<KEYVALUE VALUETYPE=\"numeric\" TYPE=\"string\">1"
                                        "</KEYVALUE></KEYBINDING></INSTANCENAME>")));
    EXPECT_FALSE(m.isWellFormed());
    EXPECT_TRUE(m.getErrorText().contains("VALUETYPE numeric cannot have TYPE string"))
        << m.getErrorText();
    VELCIMMessage bad(
        intrinsic("GetInstance", iparam("InstanceName",
                                        "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"K\">"
                                        "<KEYVALUE VALUETYPE=\"text\">1</KEYVALUE>"
                                        "</KEYBINDING></INSTANCENAME>")));
    EXPECT_FALSE(bad.isWellFormed());
    EXPECT_TRUE(bad.getErrorText().contains("VALUETYPE")) << bad.getErrorText();
}

// Every form of object path a VALUE.REFERENCE can hold, and reference keys.
TEST(ValueTyping, ReferenceForms) {
    const std::string keys =
        "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"numeric\">7</KEYVALUE>"
        "</KEYBINDING>";
    const std::string nsPath = "<NAMESPACEPATH><HOST>server.example.com:5989</HOST>" +
                               localNameSpace("root/cimv2") + "</NAMESPACEPATH>";
    struct Case {
        std::string inner;
        const char* text;
        bool isClass;
        const char* host;
    } cases[] = {
        {"<INSTANCENAME CLASSNAME=\"X_A\">" + keys + "</INSTANCENAME>", "X_A.id=7", false, ""},
        {"<LOCALINSTANCEPATH>" + localNameSpace("root/cimv2") + "<INSTANCENAME CLASSNAME=\"X_A\">" +
             keys + "</INSTANCENAME></LOCALINSTANCEPATH>",
         "root/cimv2:X_A.id=7", false, ""},
        {"<INSTANCEPATH>" + nsPath + "<INSTANCENAME CLASSNAME=\"X_A\">" + keys +
             "</INSTANCENAME></INSTANCEPATH>",
         "//server.example.com:5989/root/cimv2:X_A.id=7", false, "server.example.com:5989"},
        {"<CLASSNAME NAME=\"X_A\"/>", "X_A", true, ""},
        {"<LOCALCLASSPATH>" + localNameSpace("root/cimv2") +
             "<CLASSNAME NAME=\"X_A\"/></LOCALCLASSPATH>",
         "root/cimv2:X_A", true, ""},
        {"<CLASSPATH>" + nsPath + "<CLASSNAME NAME=\"X_A\"/></CLASSPATH>",
         "//server.example.com:5989/root/cimv2:X_A", true, "server.example.com:5989"},
        // A key that is itself a reference, and the unnamed single-key forms.
        {"<INSTANCENAME CLASSNAME=\"X_Assoc\"><KEYBINDING NAME=\"Ref\"><VALUE.REFERENCE>"
         "<INSTANCENAME CLASSNAME=\"X_A\">" +
             keys + "</INSTANCENAME></VALUE.REFERENCE></KEYBINDING></INSTANCENAME>",
         "X_Assoc.ref=\"X_A.id=7\"", false, ""},
        {"<INSTANCENAME CLASSNAME=\"X_Single\"><KEYVALUE>only</KEYVALUE></INSTANCENAME>",
         "X_Single.=\"only\"", false, ""},
        {"<INSTANCENAME CLASSNAME=\"X_Singleton\"/>", "X_Singleton", false, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        VELCIMMessage m(intrinsic("SetProperty", iparam("NewValue", "<VALUE.REFERENCE>" + c.inner +
                                                                        "</VALUE.REFERENCE>")));
        ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
        auto ref = m.getSimpleRequestList()
                       ->at(0)
                       ->getParameterByName(S::NEWVALUE)
                       ->getValue()
                       ->getReference();
        EXPECT_EQ(ref->toString(), c.text);
        EXPECT_EQ(ref->isClassName(), c.isClass);
        if (*c.host) {
            EXPECT_EQ(ref->getNameSpacePath()->getHost(), c.host);
        }
    }
}

TEST(ValueTyping, EmbeddedObjects) {
    std::string inner = instance("TST_Inner", property("V", "uint32", "9"));
    std::string outer = instance(
        "TST_Outer", "<PROPERTY NAME=\"Deep\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>" +
                         escaped(inner) + "</VALUE></PROPERTY>");
    std::string cls = "<CLASS NAME=\"TST_Cls\"><PROPERTY NAME=\"P\" TYPE=\"string\"/></CLASS>";
    VELSmrPtr<IVelaObject> i = created(
        "<PROPERTY NAME=\"One\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>" +
        escaped(inner) +
        "</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"Nested\" TYPE=\"string\" EMBEDDEDOBJECT=\"object\"><VALUE>" +
        escaped(outer) +
        "</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"AClass\" TYPE=\"string\" EmbeddedObject=\"object\"><VALUE>" +
        escaped(cls) +
        "</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"Blank\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE> </VALUE>"
        "</PROPERTY>"
        "<PROPERTY.ARRAY NAME=\"Many\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE.ARRAY>"
        "<VALUE>" +
        escaped(inner) + "</VALUE><VALUE.NULL/><VALUE><![CDATA[" + inner +
        "]]></VALUE></VALUE.ARRAY></PROPERTY.ARRAY>");
    ASSERT_FALSE(i.isNull());
    auto one = i->getProperty("One")->getValue();
    EXPECT_TRUE(one->getType()->isEmbeddedObject());
    EXPECT_TRUE(one->getType()->isInstance());
    EXPECT_EQ(i->getProperty("One")->getType()->getTypeId(), CIMTypeId::Object);
    EXPECT_EQ(one->getObject()->getProperty("V")->getValue()->getUnsigned(), 9u);

    auto nested = i->getProperty("Nested")->getValue();
    EXPECT_TRUE(nested->getType()->isEmbeddedObjectQualified());
    auto deep = nested->getObject()->getProperty("Deep")->getValue()->getObject();
    EXPECT_EQ(deep->getClassName(), "TST_Inner");

    auto c = i->getProperty("AClass")->getValue();
    EXPECT_TRUE(c->getType()->isClass());
    EXPECT_EQ(c->getClass()->getName(), "TST_Cls");

    EXPECT_FALSE(i->getProperty("Blank")->getValue()->isSet());

    auto many = i->getProperty("Many")->getValue();
    EXPECT_TRUE(many->getType()->isArray());
    EXPECT_TRUE(many->getType()->isEmbeddedObject());
    ASSERT_EQ(many->getArraySize(), 3u);
    EXPECT_EQ(many->getArray()->at(0)->getObject()->getClassName(), "TST_Inner");
    EXPECT_FALSE(many->getArray()->at(1)->isSet());
    EXPECT_EQ(many->getArray()->at(2)->getObject()->getClassName(), "TST_Inner");
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

TEST(ValueTyping, ParseEmbeddedInstance) {
    VELSmrPtr<IVelaObject> i = CIMUtil::parseEmbeddedInstance(
        "<?xml version=\"1.0\"?>\n<INSTANCE CLASSNAME=\"CIM_Error\">" +
        property("Message", "string", "it &amp; failed") +
        property("CIMStatusCode", "uint32", "4") + "</INSTANCE>");
    EXPECT_EQ(i->getClassName(), "CIM_Error");
    EXPECT_EQ(i->getProperty("Message")->getValue()->getString(), "it & failed");
    EXPECT_EQ(i->getProperty("CIMStatusCode")->getValue()->getUnsigned(), 4u);

    const char* badValue =
        "<INSTANCE CLASSNAME=\"C\"><PROPERTY NAME=\"P\" TYPE=\"uint8\"><VALUE>"
        "x</VALUE></PROPERTY></INSTANCE>";
    const char* bad[] = {"", "<CLASS NAME=\"C\"/>", "<INSTANCE CLASSNAME=\"C\">", badValue};
    for (const char* text : bad) {
        try {
            CIMUtil::parseEmbeddedInstance(text);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const VelaBaseException& e) {
            EXPECT_EQ(e.getType(), "InvalidData");
            EXPECT_TRUE(e.getMessage().beginsWith("not a CIM-XML instance: ")) << e.getMessage();
        }
    }
}

// Qualifiers of an instance are checked but the model keeps none.
TEST(ValueTyping, InstanceQualifiersAreChecked) {
    VELString error;
    EXPECT_FALSE(created("<QUALIFIER NAME=\"Q\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER>" +
                         property("P", "uint8", "1"))
                     .isNull());
    EXPECT_TRUE(
        created("<QUALIFIER NAME=\"Q\" TYPE=\"boolean\"><VALUE>maybe</VALUE></QUALIFIER>", &error)
            .isNull());
    EXPECT_TRUE(error.contains("QUALIFIER \"Q\"")) << error;
    EXPECT_TRUE(
        created(property("P", "uint8", "1") + property("p", "uint8", "2"), &error).isNull());
    EXPECT_TRUE(error.contains("property \"p\" appears twice")) << error;
}

}  // namespace
