// Values, arrays, references, embedded instances, properties, instances and
// their wrappers, in the plain and the escaped style.
#include "EncoderTestSupport.h"

namespace enctest {
namespace {

// A value of another class than CVelaValue: it goes through the encoders'
// general path (element lists, text buffers) rather than the fast one.
class ForeignValue : public IVelaValue {
  public:
    explicit ForeignValue(Value inner) : _v(std::move(inner)) {}
    const VELSmrPtr<IVelaType>& getType() const override { return _v->getType(); }
    bool isSet() const override { return _v->isSet(); }
    bool isUntyped() const override { return _v->isUntyped(); }
    const VELString& getTypeHint() const override { return _v->getTypeHint(); }
    VELSmrPtr<ValueList> getArray() const override { return _v->getArray(); }
    std::size_t getArraySize() const override { return _v->getArraySize(); }
    VELSmrPtr<IVelaInstanceName> getReference() const override { return _v->getReference(); }
    VELSmrPtr<IVelaObject> getObject() const override { return _v->getObject(); }
    VELSmrPtr<IVelaClass> getClass() const override { return _v->getClass(); }
    bool getBoolean() const override { return _v->getBoolean(); }
    std::uint64_t getUnsigned() const override { return _v->getUnsigned(); }
    std::int64_t getSigned() const override { return _v->getSigned(); }
    double getReal() const override { return _v->getReal(); }
    char16_t getChar16() const override { return _v->getChar16(); }
    const VELString& getString() const override { return _v->getString(); }
    void print(std::ostream& os) const override { _v->print(os); }
    VELString toString() const override { return _v->toString(); }
    bool equals(const IVelaValue& o) const override { return _v->equals(o); }

  private:
    Value _v;
};

std::string value(const Value& v, bool esc, bool force = false, bool addRef = false) {
    return out([&](std::ostream& os) { CIMXMLUtil::streamValue(os, v, true, esc, force, addRef); });
}

Value array(CIMTypeId id, std::vector<CVelaValue::Scalar> items) {
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(id, true),
                                     std::make_shared<const CVelaValue::ScalarArray>(items));
}

class Values : public ::testing::Test {
  protected:
    VELSmrPtr<IVelaNameSpacePath> cimv2 = nsPath("root/cimv2", "h1");
    VELSmrPtr<CVelaInstanceName> disk = nameOf("CIM_Disk", cimv2, {{"Id", str("d1")}});
};

TEST_F(Values, ScalarsOfEveryTypeInBothStylesAndOnBothPaths) {
    struct Case {
        Value value;
        bool force;
        const char* plain;
    };
    const Case cases[] = {
        {CVelaValue::makeBoolean(true), false, "<VALUE>TRUE</VALUE>\n"},
        {CVelaValue::makeBoolean(false), false, "<VALUE>FALSE</VALUE>\n"},
        {str("a<b&c>\"d\""), false, "<VALUE>a&lt;b&amp;c&gt;&quot;d&quot;</VALUE>\n"},
        {str(""), false, ""},
        {str(""), true, "<VALUE></VALUE>\n"},
        {CVelaValue::makeNull(CVelaType::string), true, ""},
        {CVelaValue::makeNull(CVelaType::uint32), true, ""},
        {CVelaValue::makeChar16(u'\u00e9'), false, "<VALUE>\xC3\xA9</VALUE>\n"},
        {CVelaValue::makeDateTime("00000001132312.000000:000"), false,
         "<VALUE>00000001132312.000000:000</VALUE>\n"},
        {CVelaValue::makeUint8(0), false, "<VALUE>0</VALUE>\n"},
        {CVelaValue::makeSigned(CIMTypeId::SInt8, -128), false, "<VALUE>-128</VALUE>\n"},
        {CVelaValue::makeUint16(65535), false, "<VALUE>65535</VALUE>\n"},
        {CVelaValue::makeSigned(CIMTypeId::SInt16, -2), false, "<VALUE>-2</VALUE>\n"},
        {CVelaValue::makeUint32(4294967295u), false, "<VALUE>4294967295</VALUE>\n"},
        {CVelaValue::makeSint32(-2147483647 - 1), false, "<VALUE>-2147483648</VALUE>\n"},
        {CVelaValue::makeUint64(18446744073709551615ULL), false,
         "<VALUE>18446744073709551615</VALUE>\n"},
        {CVelaValue::makeSint64(-9223372036854775807LL - 1), false,
         "<VALUE>-9223372036854775808</VALUE>\n"},
        {CVelaValue::makeReal32(0.1f), false, "<VALUE>0.1</VALUE>\n"},
        {CVelaValue::makeReal64(1e300), false, "<VALUE>1e+300</VALUE>\n"},
        {CVelaValue::makeReal64(-std::numeric_limits<double>::infinity()), false,
         "<VALUE>-INF</VALUE>\n"},
        {CVelaValue::makeUntyped("x&y", "string"), false, "<VALUE>x&amp;y</VALUE>\n"},
        {nullptr, true, ""},
    };
    for (const Case& c : cases) {
        const std::string plain = c.plain;
        EXPECT_EQ(value(c.value, false, c.force), plain);
        EXPECT_TRUE(wellFormed(plain));
        std::string escaped = plain;
        for (auto [from, to] : {std::pair<std::string, std::string>{"<VALUE>", "&lt;VALUE&gt;"},
                                {"</VALUE>", "&lt;/VALUE&gt;"}}) {
            if (auto at = escaped.find(from); at != std::string::npos) {
                escaped.replace(at, from.size(), to);
            }
        }
        EXPECT_EQ(value(c.value, true, c.force), escaped) << plain;
        if (!c.value.isNull()) {
            Value foreign(new ForeignValue(c.value));
            EXPECT_EQ(value(foreign, false, c.force), plain);
        }
    }
}

TEST_F(Values, ArraysWriteTheirElementsAndSkipUnsetOnes) {
    using S = CVelaValue::Scalar;
    auto objects = makeVELSmrPtr<IVelaValue::ValueList>();
    objects->append(CVelaValue::makeObject(noteInstance("n")));
    objects->append(CVelaValue::makeNull(CVelaType::object));
    struct Case {
        Value value;
        bool force;
        std::string plain;
        std::string escaped;
    };
    const Case cases[] = {
        {array(CIMTypeId::UInt16, {S(std::uint64_t(1)), S(), S(std::uint64_t(3))}), false,
         "<VALUE.ARRAY>\n<VALUE>1</VALUE>\n<VALUE>3</VALUE>\n</VALUE.ARRAY>\n",
         "&lt;VALUE.ARRAY&gt;\n&lt;VALUE&gt;1&lt;/VALUE&gt;\n&lt;VALUE&gt;3&lt;/VALUE&gt;\n"
         "&lt;/VALUE.ARRAY&gt;\n"},
        {array(CIMTypeId::String, {S(VELString("a<")), S(VELString()), S(VELString("b"))}), false,
         "<VALUE.ARRAY>\n<VALUE>a&lt;</VALUE>\n<VALUE>b</VALUE>\n</VALUE.ARRAY>\n",
         "&lt;VALUE.ARRAY&gt;\n&lt;VALUE&gt;a&lt;&lt;/VALUE&gt;\n&lt;VALUE&gt;b&lt;/VALUE&gt;\n"
         "&lt;/VALUE.ARRAY&gt;\n"},
        {array(CIMTypeId::String, {S(VELString()), S()}), true,
         "<VALUE.ARRAY>\n<VALUE></VALUE>\n</VALUE.ARRAY>\n",
         "&lt;VALUE.ARRAY&gt;\n&lt;VALUE&gt;&lt;/VALUE&gt;\n&lt;/VALUE.ARRAY&gt;\n"},
        {array(CIMTypeId::Boolean, {}), false, "<VALUE.ARRAY>\n</VALUE.ARRAY>\n",
         "&lt;VALUE.ARRAY&gt;\n&lt;/VALUE.ARRAY&gt;\n"},
        {CVelaValue::makeNull(CVelaType::get(CIMTypeId::Real64, true)), false, "<VALUE.ARRAY/>\n",
         "&lt;VALUE.ARRAY/&gt;\n"},
        {CVelaValue::makeNull(CVelaType::get(CIMTypeId::Reference, true)), false,
         "<VALUE.REFARRAY/>\n", "&lt;VALUE.REFARRAY/&gt;\n"},
        {array(CIMTypeId::Reference, {S(VELSmrPtr<IVelaInstanceName>(disk))}), false,
         "<VALUE.REFARRAY>\n<VALUE.REFERENCE>" + kDiskPath +
             "</VALUE.REFERENCE>\n</VALUE.REFARRAY>\n",
         // Escaped, array elements carry no VALUE.REFERENCE wrapper.
         "&lt;VALUE.REFARRAY&gt;\n" + escapeMarkup(kDiskPath) + "&lt;/VALUE.REFARRAY&gt;\n"},
        {makeVELSmrPtr<CVelaValue>(objects, CVelaType::object), false,
         "<VALUE.ARRAY>\n\n<VALUE>" + kInnerEscaped + "</VALUE>\n</VALUE.ARRAY>\n",
         "&lt;VALUE.ARRAY&gt;\n\n&lt;VALUE&gt;" + kInnerEscaped +
             "&lt;/VALUE&gt;\n&lt;/VALUE.ARRAY&gt;\n"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(value(c.value, false, c.force), c.plain);
        EXPECT_TRUE(wellFormed(c.plain));
        EXPECT_EQ(value(c.value, true, c.force), c.escaped);
        Value foreign(new ForeignValue(c.value));
        EXPECT_EQ(value(foreign, false, c.force), c.plain);
        EXPECT_EQ(value(foreign, true, c.force), c.escaped);
    }
}

TEST_F(Values, ReferencesNeedAClassAndKeysAndAreWrappedUnlessEscapedWithoutTheFlag) {
    Value ref = CVelaValue::makeReference(disk);
    const std::string plain = "<VALUE.REFERENCE>" + kDiskPath + "</VALUE.REFERENCE>\n";
    EXPECT_EQ(value(ref, false), plain);
    EXPECT_EQ(value(ref, false, false, true), plain);
    EXPECT_EQ(value(ref, true), escapeMarkup(kDiskPath));
    EXPECT_EQ(value(ref, true, false, true), escapeMarkup(plain));
    EXPECT_EQ(value(CVelaValue::makeReference(nameOf("CIM_Disk", cimv2)), false), "");
    EXPECT_EQ(value(CVelaValue::makeReference(nameOf("", cimv2, {{"Id", str("1")}})), false), "");
    EXPECT_EQ(value(CVelaValue::makeNull(CVelaType::reference), false), "");
}

TEST_F(Values, EmbeddedInstancesAreEscapedExactlyOnceEvenWhenNested) {
    auto outer = makeVELSmrPtr<CVelaObject>("TEST_Outer");
    outer->addProperty("Id", CVelaValue::makeUint32(1));
    outer->addProperty("Inner", CVelaValue::makeObject(noteInstance("n")));
    const std::string outerEscaped =
        "&lt;INSTANCE CLASSNAME=&quot;TEST_Outer&quot;&gt;\n"
        "&lt;PROPERTY NAME=&quot;Id&quot;&#32; TYPE=&quot;uint32&quot;&gt;&lt;VALUE&gt;1"
        "&lt;/VALUE&gt;\n&lt;/PROPERTY&gt;\n"
        "&lt;PROPERTY NAME=&quot;Inner&quot;&#32; TYPE=&quot;string&quot; "
        "EmbeddedObject=&quot;instance&quot;&gt;\n&lt;VALUE&gt;" +
        kInnerEscaped + "&lt;/VALUE&gt;\n&lt;/PROPERTY&gt;\n&lt;/INSTANCE&gt;\n";
    Value v = CVelaValue::makeObject(outer);
    EXPECT_EQ(value(v, false, true), "\n<VALUE>" + outerEscaped + "</VALUE>\n");
    EXPECT_EQ(value(v, true), "\n&lt;VALUE&gt;" + outerEscaped + "&lt;/VALUE&gt;\n");
    EXPECT_EQ(value(CVelaValue::makeObject(makeVELSmrPtr<CVelaObject>("")), false), "");
    EXPECT_EQ(value(CVelaValue::makeNull(CVelaType::object), false, true), "");
}

class Properties : public Values {
  protected:
    ScopedClasses classes{errorSchema()};
    VELSmrPtr<CVelaObject> thing =
        makeVELSmrPtr<CVelaObject>("TEST_Thing", nameOf("TEST_Thing", cimv2, {{"Name", str("t")}}));

    std::string property(const IVelaObject& obj, VELSmrPtr<IVelaProperty> p, bool esc,
                         const cimxmlpa::ClassOriginDictionary* origins = nullptr) {
        return out([&](std::ostream& os) {
            CIMXMLUtil::streamProperty(os, obj, p, true, origins, nullptr, esc);
        });
    }
};

VELSmrPtr<IVelaProperty> prop(const char* name, Value v) {
    return VELSmrPtr<IVelaProperty>(new CVelaProperty(name, std::move(v)));
}

TEST_F(Properties, EveryKindInBothStylesWithTheEscapedBlanksWhereTheyBelong) {
    auto parts = makeVELSmrPtr<IVelaValue::ValueList>();
    parts->append(CVelaValue::makeObject(noteInstance("n")));
    const std::string escDisk = escapeMarkup(kDiskPath);
    struct Case {
        VELSmrPtr<IVelaProperty> property;
        std::string plain;
        std::string escaped;
    };
    const Case cases[] = {
        {prop("Size", CVelaValue::makeUint32(5)),
         "<PROPERTY NAME=\"Size\" TYPE=\"uint32\"><VALUE>5</VALUE>\n</PROPERTY>\n",
         "&lt;PROPERTY NAME=&quot;Size&quot;&#32; TYPE=&quot;uint32&quot;&gt;&lt;VALUE&gt;5&lt;/"
         "VALUE&gt;\n&lt;/PROPERTY&gt;\n"},
        {prop("Caption", str("")), "<PROPERTY NAME=\"Caption\" TYPE=\"string\"></PROPERTY>\n",
         "&lt;PROPERTY NAME=&quot;Caption&quot;&#32; TYPE=&quot;string&quot;&gt;&lt;/"
         "PROPERTY&gt;\n"},
        {prop("Level", CVelaValue::makeNull(CVelaType::sint8)),
         "<PROPERTY NAME=\"Level\" TYPE=\"sint8\"></PROPERTY>\n",
         "&lt;PROPERTY NAME=&quot;Level&quot;&#32; TYPE=&quot;sint8&quot;&gt;&lt;/PROPERTY&gt;\n"},
        {VELSmrPtr<IVelaProperty>(new CVelaProperty("Gone", CVelaType::string, nullptr)), "", ""},
        {prop("Codes", array(CIMTypeId::UInt16, {std::uint64_t(1), std::uint64_t(2)})),
         "<PROPERTY.ARRAY NAME=\"Codes\" TYPE=\"uint16\"><VALUE.ARRAY>\n<VALUE>1</VALUE>\n"
         "<VALUE>2</VALUE>\n</VALUE.ARRAY>\n</PROPERTY.ARRAY>\n",
         "&lt;PROPERTY.ARRAY &#32;NAME=&quot;Codes&quot;&#32; TYPE=&quot;uint16&quot;&gt;&lt;VALUE."
         "ARRAY&gt;\n&lt;VALUE&gt;1&lt;/VALUE&gt;\n&lt;VALUE&gt;2&lt;/VALUE&gt;\n&lt;/"
         "VALUE.ARRAY&gt;"
         "\n&lt;/PROPERTY.ARRAY&gt;\n"},
        {prop("Parts", makeVELSmrPtr<CVelaValue>(parts, CVelaType::object)),
         "<PROPERTY.ARRAY NAME=\"Parts\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE.ARRAY>"
         "\n\n<VALUE>" +
             kInnerEscaped + "</VALUE>\n</VALUE.ARRAY>\n</PROPERTY.ARRAY>\n",
         "&lt;PROPERTY.ARRAY &#32;NAME=&quot;Parts&quot;&#32; TYPE=&quot;string&quot;&#32; "
         "EmbeddedObject=&quot;instance&quot;&gt;&lt;VALUE.ARRAY&gt;\n\n&lt;VALUE&gt;" +
             kInnerEscaped + "&lt;/VALUE&gt;\n&lt;/VALUE.ARRAY&gt;\n&lt;/PROPERTY.ARRAY&gt;\n"},
        {prop("Inner", CVelaValue::makeObject(noteInstance("n"))),
         "<PROPERTY NAME=\"Inner\" TYPE=\"string\" EmbeddedObject=\"instance\">\n<VALUE>" +
             kInnerEscaped + "</VALUE>\n</PROPERTY>\n",
         "&lt;PROPERTY NAME=&quot;Inner&quot;&#32; TYPE=&quot;string&quot; "
         "EmbeddedObject=&quot;instance&quot;&gt;\n&lt;VALUE&gt;" +
             kInnerEscaped + "&lt;/VALUE&gt;\n&lt;/PROPERTY&gt;\n"},
        {prop("Handler", CVelaValue::makeReference(disk)),
         "<PROPERTY.REFERENCE NAME=\"Handler\" REFERENCECLASS=\"CIM_ListenerDestination\" >"
         "<VALUE.REFERENCE>" +
             kDiskPath + "</VALUE.REFERENCE>\n</PROPERTY.REFERENCE>\n",
         "&lt;PROPERTY.REFERENCE &#32;NAME=&quot;Handler&quot; "
         "REFERENCECLASS=&quot;CIM_ListenerDestination&quot;&gt;&lt;VALUE.REFERENCE&gt;" +
             escDisk + "&lt;/VALUE.REFERENCE&gt;\n&lt;/PROPERTY.REFERENCE&gt;\n"},
        {prop("handler", CVelaValue::makeReference(disk)),
         "<PROPERTY.REFERENCE NAME=\"handler\"><VALUE.REFERENCE>" + kDiskPath +
             "</VALUE.REFERENCE>\n</PROPERTY.REFERENCE>\n",
         "&lt;PROPERTY.REFERENCE &#32;NAME=&quot;handler&quot;&gt;&lt;VALUE.REFERENCE&gt;" +
             escDisk + "&lt;/VALUE.REFERENCE&gt;\n&lt;/PROPERTY.REFERENCE&gt;\n"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(property(*thing, c.property, false), c.plain);
        EXPECT_TRUE(wellFormed(c.plain));
        EXPECT_EQ(property(*thing, c.property, true), c.escaped);
    }
}

TEST_F(Properties, ReferenceQualifiedPropertiesAreStringsHoldingEscapedPaths) {
    CVelaObject holder("TARN_Holder", nameOf("TARN_Holder", cimv2));
    auto target = prop("Target", CVelaValue::makeReference(disk));
    const std::string plain = "<PROPERTY NAME=\"Target\" TYPE=\"string\"><VALUE>" +
                              escapeMarkup(kDiskPath) + "</VALUE></PROPERTY>\n";
    EXPECT_EQ(property(holder, target, false), plain);
    ASSERT_TRUE(wellFormed(plain));
    EXPECT_EQ(decoded(plain.substr(plain.find("<VALUE>") + 7,
                                   plain.find("</VALUE>") - plain.find("<VALUE>") - 7)),
              kDiskPath);
    EXPECT_EQ(property(holder, target, true),
              "&lt;PROPERTY NAME=&quot;Target&quot;&#32; TYPE=&quot;string&quot;&gt;" +
                  escapeMarkup(kDiskPath) + "&lt;/PROPERTY&gt;\n");
    // The same property name on a class without that key is an ordinary reference.
    EXPECT_EQ(property(*thing, target, false),
              "<PROPERTY.REFERENCE NAME=\"Target\"><VALUE.REFERENCE>" + kDiskPath +
                  "</VALUE.REFERENCE>\n</PROPERTY.REFERENCE>\n");
}

class Instances : public Properties {
  protected:
    void SetUp() override {
        thing->addProperty("Name", str("t"));
        thing->addProperty("Caption", str("a&b"));
        thing->addProperty(
            VELSmrPtr<IVelaProperty>(new CVelaProperty("Nothing", CVelaType::uint8, nullptr)));
    }
    std::string instance(const VELSmrPtr<IVelaObject>& obj,
                         const VELSmrPtr<CIMXMLUtil::PropertyList>& list = nullptr,
                         const VELSmrPtr<IVelaClass>& cls = nullptr, bool origin = false,
                         bool esc = false, bool cont = true) {
        return out([&](std::ostream& os) {
            CIMXMLUtil::streamInstance(os, obj, list, cont, cls, origin, esc);
        });
    }
    const std::string kName =
        "<PROPERTY NAME=\"Name\" TYPE=\"string\"><VALUE>t</VALUE>\n</PROPERTY>\n";
    const std::string kCaption =
        "<PROPERTY NAME=\"Caption\" TYPE=\"string\"><VALUE>a&amp;b</VALUE>\n</PROPERTY>\n";
    const std::string kInstance =
        "<INSTANCE CLASSNAME=\"TEST_Thing\">\n" + kName + kCaption + "</INSTANCE>\n";
};

TEST_F(Instances, AllPropertiesOrTheListedOnesWithExactNames) {
    EXPECT_EQ(instance(thing), kInstance);
    auto list = makeVELSmrPtr<CIMXMLUtil::PropertyList>(
        std::vector<VELString>{"Caption", "Missing", "caption", "Name", "", "Name"});
    tarn::LogCapture log;
    EXPECT_EQ(instance(thing, list),
              "<INSTANCE CLASSNAME=\"TEST_Thing\">\n" + kCaption + kName + kName + "</INSTANCE>\n");
    const char* source = "cimxmlpa::CIMXMLUtil::streamPropertyByIndexOrName";
    EXPECT_TRUE(log.contains(source, "Unable to find property with name=Missing", 4));
    EXPECT_TRUE(log.contains(source, "Unable to find property with name=caption", 4));
    EXPECT_EQ(log.lines().size(), 2u);
    auto cls = tarn::ISchemaCatalog::installed()->getClass("root/cimv2", "TEST_Thing");
    EXPECT_EQ(instance(thing, nullptr, cls, true, true),
              "&lt;INSTANCE CLASSNAME=&quot;TEST_Thing&quot;&gt;\n"
              "&lt;PROPERTY NAME=&quot;Name&quot;&#32; TYPE=&quot;string&quot; "
              "CLASSORIGIN=&quot;TEST_Thing&quot;&gt;&lt;VALUE&gt;t&lt;/VALUE&gt;\n&lt;/"
              "PROPERTY&gt;\n&lt;PROPERTY NAME=&quot;Caption&quot;&#32; TYPE=&quot;string&quot; "
              "CLASSORIGIN=&quot;CIM_ManagedElement&quot; PROPAGATED=&quot;true&quot;&gt;&lt;"
              "VALUE&gt;a&amp;b&lt;/VALUE&gt;\n&lt;/PROPERTY&gt;\n&lt;/INSTANCE&gt;\n");
    // Without a class there is nothing to take origins from.
    EXPECT_EQ(instance(thing, nullptr, nullptr, true), kInstance);
}

TEST_F(Instances, AFailedPropertyIsReplacedInPlaceOrPassedOn) {
    const std::string substitute =
        "<PROPERTY NAME=\"Bad\" TYPE=\"<ERROR CODE=\"1\" DESCRIPTION=\"A general error occurred "
        "that is not covered by a more specific error code.\" />\">\n</PROPERTY>\n";
    struct Case {
        void (*fail)();
        const char* logged;
    };
    for (const Case& c :
         {Case{throwPlatform, kPlatformLine}, Case{throwUnknown, "Unknown Exception thrown."}}) {
        auto obj = makeVELSmrPtr<CVelaObject>("TEST_Thing");
        obj->addProperty("Name", str("t"));
        obj->addProperty(VELSmrPtr<IVelaProperty>(new FailingProperty("Bad", c.fail)));
        obj->addProperty("Caption", str("a&b"));
        tarn::LogCapture log;
        EXPECT_EQ(instance(obj), "<INSTANCE CLASSNAME=\"TEST_Thing\">\n" + kName + substitute +
                                     kCaption + "</INSTANCE>\n");
        EXPECT_TRUE(log.contains("CIMXMLUtil", c.logged, 1));
        EXPECT_ANY_THROW(instance(obj, nullptr, nullptr, false, false, false));
    }
    auto lost = makeVELSmrPtr<CVelaObject>("TEST_Thing");
    lost->addProperty(VELSmrPtr<IVelaProperty>(new FailingProperty("Bad", throwNetwork)));
    EXPECT_THROW(instance(lost), VELNetException);
    // A position that does not exist has no name to show.
    EXPECT_EQ(out([&](std::ostream& s) {
                  CIMXMLUtil::streamPropertyByIndexOrName(s, *thing, "", 9, true, nullptr, nullptr,
                                                          true);
              }),
              "&lt;PROPERTY NAME=&quot;unknown&quot; TYPE=&quot;<ERROR CODE=\"1\" "
              "DESCRIPTION=\"A general error occurred that is not covered by a more specific "
              "error code.\" />&quot;&gt;\n&lt;/PROPERTY&gt;\n");
}

}  // namespace
}  // namespace enctest
