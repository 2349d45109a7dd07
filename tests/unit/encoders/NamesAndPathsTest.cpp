// Namespace paths, paths that lack one, instance names with their key
// bindings, and the failure policy of guarded reads.
#include "EncoderTestSupport.h"

namespace enctest {
namespace {

class NamesAndPaths : public ::testing::Test {
  protected:
    void SetUp() override { CIMXMLUtil::advertisedHostName = VELString(); }
    void TearDown() override { CIMXMLUtil::advertisedHostName = VELString(); }
    VELSmrPtr<IVelaNameSpacePath> cimv2 = nsPath("root/cimv2", "h1");
};

TEST_F(NamesAndPaths, NamespacePathTakesItsOwnHostOrTheAdvertisedOne) {
    auto write = [](const VELSmrPtr<IVelaNameSpacePath>& p, bool esc) {
        return out([&](std::ostream& os) { CIMXMLUtil::streamNameSpacePath(os, p, true, esc); });
    };
    EXPECT_EQ(
        write(nsPath("interop"), false),
        "<NAMESPACEPATH>\n<HOST></HOST>\n<LOCALNAMESPACEPATH>\n<NAMESPACE NAME=\"interop\"/>\n"
        "</LOCALNAMESPACEPATH>\n</NAMESPACEPATH>\n");
    EXPECT_TRUE(CIMXMLUtil::initializeAdvertisedHostName("adv.example"));
    EXPECT_FALSE(CIMXMLUtil::initializeAdvertisedHostName("second.example"));
    EXPECT_EQ(CIMXMLUtil::advertisedHostName, VELString("adv.example"));
    auto odd = VELSmrPtr<IVelaNameSpacePath>(
        new CVelaNameSpacePath("", std::vector<VELString>{"root", "a&b<c"}));
    EXPECT_EQ(write(odd, false),
              "<NAMESPACEPATH>\n<HOST>adv.example</HOST>\n<LOCALNAMESPACEPATH>\n"
              "<NAMESPACE NAME=\"root\"/>\n<NAMESPACE NAME=\"a&amp;b&lt;c\"/>\n"
              "</LOCALNAMESPACEPATH>\n</NAMESPACEPATH>\n");
    EXPECT_TRUE(wellFormed(write(odd, false)));
    EXPECT_EQ(write(nsPath("root/cimv2", "h&1"), true),
              "&lt;NAMESPACEPATH&gt;\n&lt;HOST&gt;h&amp;1&lt;/HOST&gt;\n"
              "&lt;LOCALNAMESPACEPATH&gt;\n&lt;NAMESPACE NAME=&quot;root&quot;/&gt;\n"
              "&lt;NAMESPACE NAME=&quot;cimv2&quot;/&gt;\n&lt;/LOCALNAMESPACEPATH&gt;\n"
              "&lt;/NAMESPACEPATH&gt;\n");
}

// Texts that clients parse and nothing else pins: object paths of classes and
// instances, and the parameters of pulled enumerations and queries.
TEST_F(NamesAndPaths, ObjectPathsAndPullParametersAsWritten) {
    auto cls = makeVELSmrPtr<CVelaInstanceName>("CIM_Foo", cimv2, true);
    auto inst = nameOf("CIM_Foo", cimv2, {{"Id", CVelaValue::makeUint32(7)}});
    using Encode = std::function<void(std::ostream&)>;
    const std::pair<Encode, std::string> rows[] = {
        {[&](std::ostream& os) { CIMXMLUtil::streamObjectPath(os, cls, true); },
         "<OBJECTPATH>\n<CLASSPATH>\n" + kCimv2NsPath +
             "<CLASSNAME NAME=\"CIM_Foo\" />\n</CLASSPATH>\n</OBJECTPATH>\n"},
        {[&](std::ostream& os) { CIMXMLUtil::streamObjectPath(os, inst, true); },
         "<OBJECTPATH>\n<INSTANCEPATH>\n" + kCimv2NsPath +
             "<INSTANCENAME CLASSNAME=\"CIM_Foo\">\n<KEYBINDING NAME=\"Id\"><KEYVALUE "
             "VALUETYPE=\"numeric\" TYPE=\"uint32\">7</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n"
             "</INSTANCEPATH>\n</OBJECTPATH>\n"},
        {[](std::ostream& os) { CIMXMLUtil::streamEndOfSequence(os, false); },
         "<PARAMVALUE NAME=\"EndOfSequence\" TYPE=\"boolean\">\n<VALUE>FALSE</VALUE>\n"
         "</PARAMVALUE>\n"},
        {[](std::ostream& os) { CIMXMLUtil::streamEnumerationContext(os, "ctx-42"); },
         "<PARAMVALUE NAME=\"EnumerationContext\" TYPE=\"string\">\n<VALUE>ctx-42</VALUE>\n"
         "</PARAMVALUE>\n"},
        {[](std::ostream& os) { CIMXMLUtil::streamIParamQueryResultClass(os, nullptr); },
         "<PARAMVALUE NAME=\"QueryResultClass\">\n</PARAMVALUE>"},
    };
    for (const auto& [encode, expected] : rows) {
        EXPECT_EQ(out(encode), expected);
    }
}

TEST_F(NamesAndPaths, PathsWithoutNamespacePathAreRefusedWhateverTheFlag) {
    auto bare = nameOf("CIM_Foo", nullptr, {{"Id", str("1")}});
    auto refusal = [](const std::function<void(std::ostream&)>& write) {
        try {
            out(write);
        } catch (const AdapterException& e) {
            return e.getType().str() + "|" + e.getLocation().str() + "|" + e.getMessage().str() +
                   "|" + std::to_string(e.getCode());
        }
        return std::string("no exception");
    };
    for (bool cont : {true, false}) {
        EXPECT_EQ(refusal([&](std::ostream& os) { CIMXMLUtil::streamClassPath(os, bare, cont); }),
                  "InvalidData|CIMXMLUtil::StreamClassPath|NameSpacePath missing|1");
        EXPECT_EQ(refusal([&](std::ostream& os) {
                      CIMXMLUtil::streamInstancePath(os, bare, cont, false);
                  }),
                  "InvalidData|CIMXMLUtil::StreamInstancePath|NameSpacePath missing|1");
    }
}

TEST_F(NamesAndPaths, KeyValuesCarryValueTypeTypeAndEncodedText) {
    struct Case {
        Value value;
        const char* keyValue;
    };
    const Case cases[] = {
        {str("a<b&\"c\""), "VALUETYPE=\"string\" TYPE=\"string\">a&lt;b&amp;&quot;c&quot;"},
        {CVelaValue::makeChar16(u'<'), "VALUETYPE=\"string\" TYPE=\"char16\">&lt;"},
        {CVelaValue::makeDateTime("20261122065600.123456+060"),
         "VALUETYPE=\"string\" TYPE=\"datetime\">20261122065600.123456+060"},
        {CVelaValue::makeBoolean(false), "VALUETYPE=\"boolean\" TYPE=\"boolean\">FALSE"},
        {CVelaValue::makeUint8(255), "VALUETYPE=\"numeric\" TYPE=\"uint8\">255"},
        {CVelaValue::makeSigned(CIMTypeId::SInt8, -8), "VALUETYPE=\"numeric\" TYPE=\"sint8\">-8"},
        {CVelaValue::makeUint64(18446744073709551615ULL),
         "VALUETYPE=\"numeric\" TYPE=\"uint64\">18446744073709551615"},
        {CVelaValue::makeReal32(1.5f), "VALUETYPE=\"numeric\" TYPE=\"real32\">1.5"},
        {CVelaValue::makeUntyped("42", "numeric"), "VALUETYPE=\"string\" TYPE=\"string\">42"},
    };
    for (const Case& c : cases) {
        auto name = nameOf("CIM_Foo", cimv2, {{"K", c.value}});
        std::string plain =
            out([&](std::ostream& os) { CIMXMLUtil::streamInstanceName(os, name, false, false); });
        EXPECT_EQ(plain, std::string("<INSTANCENAME CLASSNAME=\"CIM_Foo\">\n<KEYBINDING "
                                     "NAME=\"K\"><KEYVALUE ") +
                             c.keyValue + "</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n");
        EXPECT_TRUE(wellFormed(plain));
        std::string escaped =
            out([&](std::ostream& os) { CIMXMLUtil::streamInstanceName(os, name, false, true); });
        EXPECT_EQ(escaped.find('<'), std::string::npos) << escaped;
        // The value text is encoded once in both styles, so only markup
        // without entities decodes back to the plain form.
        if (plain.find('&') == std::string::npos) {
            EXPECT_EQ(decoded(escaped), plain);
        } else {
            EXPECT_NE(escaped.find(c.keyValue + std::string(c.keyValue).find('>') + 1),
                      std::string::npos)
                << escaped;
        }
    }
}

TEST_F(NamesAndPaths, NullKeysDisappearAndKeysKeepTheirOrder) {
    auto name = nameOf("CIM_Foo", cimv2,
                       {{"Z", str("z")}, {"Gone", nullptr}, {"A", CVelaValue::makeUint16(1)}});
    EXPECT_EQ(out([&](std::ostream& os) { CIMXMLUtil::streamInstanceName(os, name, true, false); }),
              "<INSTANCENAME CLASSNAME=\"CIM_Foo\">\n"
              "<KEYBINDING NAME=\"Z\"><KEYVALUE VALUETYPE=\"string\" "
              "TYPE=\"string\">z</KEYVALUE></KEYBINDING>\n"
              "<KEYBINDING NAME=\"A\"><KEYVALUE VALUETYPE=\"numeric\" "
              "TYPE=\"uint16\">1</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n");
    auto allNull = nameOf("CIM_Foo", cimv2, {{"A", nullptr}, {"B", nullptr}});
    EXPECT_EQ(
        out([&](std::ostream& os) { CIMXMLUtil::streamInstanceName(os, allNull, true, true); }),
        "&lt;INSTANCENAME CLASSNAME=&quot;CIM_Foo&quot;&gt;\n&lt;/INSTANCENAME&gt;\n");
}

TEST_F(NamesAndPaths, ReferenceKeysNestAnInstancePathEscapedThroughout) {
    auto target = nameOf("CIM_Disk", nsPath("root/cimv2", "h2"), {{"Id", str("d1")}});
    auto assoc = nameOf("CIM_Link", cimv2, {{"Part", CVelaValue::makeReference(target)}});
    const std::string nested =
        "<INSTANCEPATH>\n<NAMESPACEPATH>\n<HOST>h2</HOST>\n<LOCALNAMESPACEPATH>\n"
        "<NAMESPACE NAME=\"root\"/>\n<NAMESPACE NAME=\"cimv2\"/>\n</LOCALNAMESPACEPATH>\n"
        "</NAMESPACEPATH>\n<INSTANCENAME CLASSNAME=\"CIM_Disk\">\n<KEYBINDING NAME=\"Id\">"
        "<KEYVALUE VALUETYPE=\"string\" TYPE=\"string\">d1</KEYVALUE></KEYBINDING>\n"
        "</INSTANCENAME>\n</INSTANCEPATH>\n";
    const std::string plain =
        "<INSTANCENAME CLASSNAME=\"CIM_Link\">\n<KEYBINDING NAME=\"Part\">"
        "<VALUE.REFERENCE>" +
        nested + "</VALUE.REFERENCE></KEYBINDING>\n</INSTANCENAME>\n";
    EXPECT_EQ(
        out([&](std::ostream& os) { CIMXMLUtil::streamInstanceName(os, assoc, true, false); }),
        plain);
    EXPECT_TRUE(wellFormed(plain));
    std::string escaped =
        out([&](std::ostream& os) { CIMXMLUtil::streamInstanceName(os, assoc, true, true); });
    EXPECT_EQ(escaped.find('<'), std::string::npos) << escaped;
    EXPECT_EQ(decoded(escaped), plain);
}

TEST_F(NamesAndPaths, ReferenceQualifiedKeysTravelAsEscapedPathText) {
    ScopedClasses classes(errorSchema());
    auto target = nameOf("TEST_Thing", cimv2, {{"Name", str("t&1")}});
    const std::string targetPath =
        "<INSTANCEPATH>\n" + kCimv2NsPath +
        "<INSTANCENAME CLASSNAME=\"TEST_Thing\">\n<KEYBINDING NAME=\"Name\"><KEYVALUE "
        "VALUETYPE=\"string\" TYPE=\"string\">t&amp;1</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n"
        "</INSTANCEPATH>\n";
    const std::string encodedPath = CIMUtil::xmlEncode(VELString(targetPath)).str();
    // A reference value and a string holding the same path write the same key.
    for (Value v :
         {CVelaValue::makeReference(target), str("//h1/root/cimv2:TEST_Thing.Name=\"t&1\"")}) {
        auto holder =
            nameOf("TARN_Holder", cimv2, {{"Target", v}, {"Slot", CVelaValue::makeUint8(2)}});
        std::string plain = out(
            [&](std::ostream& os) { CIMXMLUtil::streamInstanceName(os, holder, false, false); });
        EXPECT_EQ(plain,
                  "<INSTANCENAME CLASSNAME=\"TARN_Holder\">\n<KEYBINDING NAME=\"Target\">"
                  "<KEYVALUE VALUETYPE=\"string\">" +
                      encodedPath +
                      "</KEYVALUE></KEYBINDING>\n<KEYBINDING NAME=\"Slot\"><KEYVALUE "
                      "VALUETYPE=\"numeric\" TYPE=\"uint8\">2</KEYVALUE></KEYBINDING>\n"
                      "</INSTANCENAME>\n");
        ASSERT_TRUE(wellFormed(plain));
        pugi::xml_document doc;
        doc.load_string(plain.c_str());
        EXPECT_EQ(doc.first_child().child("KEYBINDING").child("KEYVALUE").text().get(), targetPath);
    }
    // Escaped, the wrapper text is encoded like the markup around it, and the
    // path (already escaped markup) once more.
    auto holder = nameOf("TARN_Holder", cimv2, {{"Target", CVelaValue::makeReference(target)}});
    std::string escaped =
        out([&](std::ostream& os) { CIMXMLUtil::streamInstanceName(os, holder, false, true); });
    std::string escapedPath =
        out([&](std::ostream& os) { CIMXMLUtil::streamInstancePath(os, target, false, true); });
    EXPECT_EQ(escaped,
              "&lt;INSTANCENAME CLASSNAME=&quot;TARN_Holder&quot;&gt;\n&lt;KEYBINDING "
              "NAME=&quot;Target&quot;&gt;&lt;KEYVALUE VALUETYPE=&quot;string&quot;&gt;" +
                  CIMUtil::xmlEncode(VELString(escapedPath)).str() +
                  "&lt;/KEYVALUE&gt;&lt;/KEYBINDING&gt;\n&lt;/INSTANCENAME&gt;\n");
    // Without a namespace path the key is an ordinary reference.
    auto local = nameOf("TARN_Holder", nullptr, {{"Target", CVelaValue::makeReference(target)}});
    EXPECT_NE(out([&](std::ostream& os) {
                  CIMXMLUtil::streamInstanceName(os, local, false, false);
              }).find("<VALUE.REFERENCE><INSTANCEPATH>"),
              std::string::npos);
}

TEST_F(NamesAndPaths, FailedKeyReadsAreReportedInPlaceOrPassedOn) {
    const std::string errorLine =
        "<ERROR CODE=\"1\" DESCRIPTION=\"A general error occurred that is not covered by a more "
        "specific error code.\" />\n";
    auto failingAt1 = [&](std::function<void()> fail) {
        auto name = makeVELSmrPtr<FailingInstanceName>("CIM_Foo", cimv2, 1, std::move(fail));
        name->addKeyBinding("A", str("a"));
        name->addKeyBinding("B", str("b"));
        name->addKeyBinding("C", str("c"));
        return VELSmrPtr<IVelaInstanceName>(name);
    };
    struct Case {
        std::function<void()> fail;
        const char* logged;
    };
    const Case cases[] = {{throwPlatform, kPlatformLine},
                          {throwUnknown, "Unknown Exception thrown."}};
    for (const Case& c : cases) {
        tarn::LogCapture log;
        std::string text = out([&](std::ostream& os) {
            CIMXMLUtil::streamInstanceName(os, failingAt1(c.fail), true, false);
        });
        EXPECT_EQ(text,
                  "<INSTANCENAME CLASSNAME=\"CIM_Foo\">\n<KEYBINDING NAME=\"A\"><KEYVALUE "
                  "VALUETYPE=\"string\" TYPE=\"string\">a</KEYVALUE></KEYBINDING>\n" +
                      errorLine +
                      "<KEYBINDING NAME=\"C\"><KEYVALUE VALUETYPE=\"string\" "
                      "TYPE=\"string\">c</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n");
        EXPECT_TRUE(wellFormed(text));
        EXPECT_TRUE(log.contains("CIMXMLUtil", c.logged, 1));
        std::ostringstream os;
        EXPECT_ANY_THROW(CIMXMLUtil::streamInstanceName(os, failingAt1(c.fail), false, false));
    }
    std::ostringstream os;
    EXPECT_THROW(CIMXMLUtil::streamInstanceName(os, failingAt1(throwNetwork), true, false),
                 VELNetException);
    EXPECT_THROW(CIMXMLUtil::streamInstanceName(os, failingAt1(throwPlatform), false, false),
                 VelaBaseException);
}

}  // namespace
}  // namespace enctest
