// Bodies that are not acceptable requests: each is rejected with a reason,
// without crash, hang or memory blow-up.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RequestBuilder.h"

using namespace xmltest;

namespace {

std::string repeat(std::string_view s, std::size_t n) {
    std::string out;
    out.reserve(s.size() * n);
    for (std::size_t i = 0; i < n; ++i) {
        out += s;
    }
    return out;
}

const std::string kHead = "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">";

// GetClass with this ClassName parameter.
std::string getClass(const std::string& content) {
    return intrinsic("GetClass", iparam("ClassName", content));
}

struct Rejection {
    std::string body;
    const char* reason;
};

void expectRejected(const std::string& body, const char* reason) {
    VELCIMMessage m(body);
    EXPECT_FALSE(m.isWellFormed()) << body.substr(0, 200);
    EXPECT_TRUE(m.getSimpleRequestList().isNull());
    EXPECT_TRUE(m.getSimpleExportRequestList().isNull());
    EXPECT_TRUE(m.getErrorText().contains(reason))
        << "reason: " << m.getErrorText() << "\nexpected: " << reason;
}

void expectRejected(const std::vector<Rejection>& cases) {
    for (const Rejection& c : cases) {
        SCOPED_TRACE(c.body.substr(0, 120));
        expectRejected(c.body, c.reason);
    }
}

TEST(HostileInput, NotWellFormedOrNotCIMXML) {
    const std::string msg = "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">";
    expectRejected({
        {"", "the body is empty"},
        {" \r\n\t", "no root element"},
        {"hello", "text outside the root element"},
        {"{\"method\": \"GetInstance\"}", "text outside the root element"},
        {"<CIM", "not well-formed XML"},
        {kHead + msg + "</CIM>", "not well-formed XML: Start-end tags mismatch"},
        {kHead + "</CIM></CIM>", "not well-formed XML"},
        {"<CIM CIMVERSION=\"2.0\" DTDVERSION=2.0></CIM>", "not well-formed XML"},
        {"<html><body>GetInstance</body></html>", "the root element is <html>, not <CIM>"},
        {"<cim CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"/>", "not <CIM>"},
        {"<CIM DTDVERSION=\"2.0\"/>", "<CIM> lacks its CIMVERSION attribute"},
        {"<CIM CIMVERSION=\"2.0\"/>", "<CIM> lacks its DTDVERSION attribute"},
        {kHead + "</CIM>", "<CIM> lacks its <MESSAGE> element"},
        {kHead + "<MESSAGE PROTOCOLVERSION=\"1.0\"/></CIM>", "lacks its ID attribute"},
        {kHead + "<MESSAGE ID=\"1\"/></CIM>", "lacks its PROTOCOLVERSION attribute"},
        {kHead + msg + "</MESSAGE></CIM>", "<MESSAGE> is empty"},
        {kHead + "text<MESSAGE/></CIM>", "text is not allowed in <CIM>"},
        {kHead + msg + "<SIMPLEREQ/></MESSAGE></CIM>",
         "<SIMPLEREQ> needs an <IMETHODCALL> or a <METHODCALL>"},
        {kHead + msg + "<MULTIREQ><SIMPLEREQ><IMETHODCALL NAME=\"A\">" + localNameSpace("x") +
             "</IMETHODCALL></SIMPLEREQ></MULTIREQ></MESSAGE></CIM>",
         "<MULTIREQ> needs at least two <SIMPLEREQ> elements"},
        {kHead + msg + "<SIMPLEREQ/></MESSAGE><MESSAGE/></CIM>", "not allowed here in <CIM>"},
        {kHead + "</CIM><CIM/>", "a second root element"},
        {kHead + "</CIM>trailing", "text outside the root element"},
        {kHead + "</CIM><![CDATA[x]]>", "text outside the root element"},
        {"<CIM/><?xml version=\"1.0\"?>", "the XML declaration at byte"},
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><CIM/>", "unsupported encoding"},
        {kHead + "<!-- unterminated </CIM>", "unterminated comment"},
        {kHead + "<![CDATA[ </CIM>", "unterminated CDATA section"},
        {kHead + "<?pi </CIM>", "unterminated processing instruction"},
    });
}

TEST(HostileInput, EntitiesAndDoctypesAreNeverExpanded) {
    const std::string laughs =
        "<?xml version=\"1.0\"?><!DOCTYPE CIM [<!ENTITY lol \"lol\">"
        "<!ENTITY lol2 \"&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;\">"
        "<!ENTITY lol3 \"&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;&lol2;\">]>" +
        getClass("<VALUE>&lol3;</VALUE>").substr(39);
    expectRejected({
        {laughs, "a DOCTYPE declaration at byte 21 is not accepted"},
        {"<!DOCTYPE CIM [<!ENTITY xxe SYSTEM \"file:///etc/passwd\">]>" + kHead + "&xxe;</CIM>",
         "DOCTYPE declaration"},
        {"<!DOCTYPE CIM SYSTEM \"http://example.com/cim.dtd\">" + kHead + "</CIM>",
         "DOCTYPE declaration"},
        {kHead + "<!ENTITY e \"x\"></CIM>", "markup declaration at byte"},
        {getClass("<VALUE>&xxe;</VALUE>"), "reference to the undeclared entity &xxe;"},
        {getClass("<VALUE>a & b</VALUE>"), "a bare '&'"},
        {getClass("<VALUE>a&#0;b</VALUE>"), "names a character XML cannot carry"},
        {getClass("<VALUE>&#x110000;</VALUE>"), "names a character XML cannot carry"},
        {getClass("<VALUE>&#xD800;</VALUE>"), "names a character XML cannot carry"},
        {getClass("<VALUE>&#12a;</VALUE>"), "malformed character reference"},
        {getClass("<VALUE>&#99999999999;</VALUE>"), "character reference out of range"},
    });
    // References inside CDATA sections and comments are text, not references.
    VELCIMMessage m(intrinsic(
        "GetClass",
        "<!-- &undeclared; -->" + iparam("ClassName", "<VALUE><![CDATA[&lol; & <x>]]></VALUE>")));
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    EXPECT_EQ(m.getSimpleRequestList()->at(0)->getParameterValueByName("ClassName"), "&lol; & <x>");
}

TEST(HostileInput, BadCharacters) {
    auto withValue = [](const std::string& v) { return getClass("<VALUE>" + v + "</VALUE>"); };
    expectRejected({
        {withValue("a\x01z"), "control character 0x01 at byte"},
        {withValue("a\x1Fz"), "control character 0x1F"},
        {withValue(std::string("a\0z", 3)), "NUL character at byte"},
        {withValue("caf\xC3"), "invalid UTF-8"},
        {withValue("\xC3\x28"), "invalid UTF-8"},
        {withValue("\xC0\xAF"), "invalid UTF-8"},
        {withValue("\xE0\x80\xAF"), "overlong UTF-8 sequence"},
        {withValue("\xED\xA0\x80"), "character U+D800 at byte"},
        {withValue("\xEF\xBF\xBE"), "character U+FFFE"},
        {withValue("\xF4\x90\x80\x80"), "character U+110000"},
        {withValue("\xF8\x88\x80\x80\x80"), "invalid UTF-8"},
        {withValue("\x80"), "invalid UTF-8"},
        {kHead + "</CIM>\xE2\x82", "truncated UTF-8 sequence"},
    });
    // Tabs, line ends, characters of every UTF-8 length and a BOM are fine.
    VELCIMMessage m("\xEF\xBB\xBF" + withValue("\t\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\n"));
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
}

TEST(HostileInput, HugeAndManyAttributes) {
    std::string huge(4 * 1024 * 1024, 'x');
    expectRejected({
        {kHead + "<MESSAGE ID=\"" + huge + "\" PROTOCOLVERSION=\"1.0\"/></CIM>",
         "attribute ID of <MESSAGE> is longer than 4096 bytes"},
        {getClass("<CLASSNAME NAME=\"" + huge + "\"/>"),
         "attribute NAME of <CLASSNAME> is longer than 4096 bytes"},
        {"<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\" " + huge + "=\"1\"/>",
         "is longer than 4096 bytes"},
        {"<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\" " + repeat("a=\"1\" ", 2) + "/>",
         "attribute a appears twice in <CIM>"},
    });
    std::string many = "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"";
    for (int i = 0; i < 40; ++i) {
        many += " a" + std::to_string(i) + "=\"1\"";
    }
    expectRejected(many + "/>", "<CIM> has more than 32 attributes");
}

// A few bytes of markup per node would make the tree many times the body;
// such bodies are refused before the tree is built.
TEST(HostileInput, DenseMarkupIsRefusedBeforeParsing) {
    expectRejected(kHead + repeat("<a/>", 2'000'000) + "</CIM>", "markup too dense: 2000001 tags");
    expectRejected(kHead + "<MESSAGE " + repeat("a=\"\" ", 2'000'000) + "/></CIM>",
                   "markup too dense");
    // Real requests are far from the bound: an array of empty values is fine.
    std::string empties = "<PROPERTY.ARRAY NAME=\"A\" TYPE=\"string\"><VALUE.ARRAY>" +
                          repeat("<VALUE></VALUE>", 300'000) + "</VALUE.ARRAY></PROPERTY.ARRAY>";
    VELCIMMessage m(intrinsic("CreateInstance", iparam("NewInstance", instance("TST_A", empties))));
    EXPECT_TRUE(m.isWellFormed()) << m.getErrorText();
}

TEST(HostileInput, TenThousandLevelsDeep) {
    const std::size_t depth = 10'000;
    std::string msg = kHead + "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">";
    // Nested elements where the grammar allows none.
    expectRejected(
        msg + repeat("<SIMPLEREQ>", depth) + repeat("</SIMPLEREQ>", depth) + "</MESSAGE></CIM>",
        "<SIMPLEREQ> is not allowed here in <SIMPLEREQ>");
    expectRejected(getClass(repeat("<x>", depth) + repeat("</x>", depth)),
                   "<x> is not allowed here in <IPARAMVALUE>");
    // Unclosed, a million levels deep: too dense to be worth a tree; with
    // longer names, parsed and found unclosed.
    expectRejected(kHead + repeat("<a>", 1'000'000), "markup too dense");
    expectRejected(kHead + repeat("<SIMPLEREQ>", 1'000'000),
                   "not well-formed XML: Start-end tags mismatch");
    // Nesting the grammar allows: a key that is a reference to a name whose
    // key is a reference, and so on.
    std::string open = "<VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"K\">";
    std::string close = "</KEYBINDING></INSTANCENAME></VALUE.REFERENCE>";
    expectRejected(intrinsic("SetProperty", iparam("NewValue", repeat(open, depth) +
                                                                   "<VALUE.REFERENCE>"
                                                                   "<CLASSNAME NAME=\"C\"/>"
                                                                   "</VALUE.REFERENCE>" +
                                                                   repeat(close, depth))),
                   "object paths nested more than 32 levels deep");
    // Within the bound such nesting is fine.
    VELCIMMessage m(
        intrinsic("SetProperty", iparam("NewValue", repeat(open, 20) + "<KEYVALUE>leaf</KEYVALUE>" +
                                                        repeat("</KEYBINDING></INSTANCENAME>"
                                                               "</VALUE.REFERENCE>",
                                                               20))));
    EXPECT_TRUE(m.isWellFormed()) << m.getErrorText();
}

TEST(HostileInput, ElementsInTheWrongOrder) {
    expectRejected({
        {message("<SIMPLEREQ><IMETHODCALL NAME=\"GetClass\">" +
                 iparam("ClassName", "<CLASSNAME NAME=\"A\"/>") + localNameSpace("root") +
                 "</IMETHODCALL></SIMPLEREQ>"),
         "<IPARAMVALUE> is not allowed here in <IMETHODCALL>, which needs <LOCALNAMESPACEPATH>"},
        {intrinsic(
             "CreateInstance",
             iparam("NewInstance", "<INSTANCE CLASSNAME=\"A\">" + property("P", "uint8", "1") +
                                       "<QUALIFIER NAME=\"Q\" TYPE=\"boolean\"/></INSTANCE>")),
         "<QUALIFIER> is not allowed here in <INSTANCE>"},
        {intrinsic("GetInstance", iparam("InstanceName",
                                         "<INSTANCENAME CLASSNAME=\"A\"><KEYVALUE>1</KEYVALUE>"
                                         "<KEYBINDING NAME=\"K\"><KEYVALUE>1</KEYVALUE>"
                                         "</KEYBINDING></INSTANCENAME>")),
         "<KEYBINDING> is not allowed here in <INSTANCENAME>"},
        {intrinsic("GetClass",
                   iparam("ClassName", "<CLASSNAME NAME=\"A\"/><CLASSNAME NAME=\"B\"/>")),
         "<CLASSNAME> is not allowed here in <IPARAMVALUE>"},
        {getClass("<VALUE>A<CLASSNAME NAME=\"B\"/></VALUE>"),
         "<VALUE> holds text only, not <CLASSNAME>"},
        {intrinsic("ModifyInstance", iparam("ModifiedInstance",
                                            "<VALUE.NAMEDINSTANCE><INSTANCE CLASSNAME=\"A\"/>"
                                            "<INSTANCENAME CLASSNAME=\"A\"/>"
                                            "</VALUE.NAMEDINSTANCE>")),
         "which needs <INSTANCENAME>"},
        {intrinsic("ModifyInstance", iparam("ModifiedInstance",
                                            "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"A\"/>"
                                            "<INSTANCE CLASSNAME=\"B\"/></VALUE.NAMEDINSTANCE>")),
         "names an instance of A but holds an instance of B"},
        {intrinsic("CreateClass",
                   iparam("NewClass",
                          "<CLASS NAME=\"C\"><METHOD NAME=\"M\"/><PROPERTY NAME=\"P\" "
                          "TYPE=\"string\"/></CLASS>")),
         "<PROPERTY> is not allowed here in <CLASS>"},
        {message("<SIMPLEREQ><METHODCALL NAME=\"M\"><PARAMVALUE NAME=\"P\"/></METHODCALL>"
                 "</SIMPLEREQ>"),
         "<PARAMVALUE> is not allowed here in <METHODCALL>, which needs a <LOCALINSTANCEPATH> or a "
         "<LOCALCLASSPATH> as its target"},
        {message("<SIMPLEREQ><IMETHODCALL NAME=\"GetClass\"><LOCALNAMESPACEPATH/>"
                 "</IMETHODCALL></SIMPLEREQ>"),
         "<LOCALNAMESPACEPATH> lacks its <NAMESPACE> element"},
    });
}

TEST(HostileInput, NamesAreChecked) {
    expectRejected({
        {getClass("<CLASSNAME NAME=\"1abc\"/>"),
         "attribute NAME of <CLASSNAME> is \"1abc\", which is not a CIM name"},
        {getClass("<CLASSNAME NAME=\"a.b\"/>"), "which is not a CIM name"},
        {getClass("<CLASSNAME NAME=\"\"/>"), "which is not a CIM name"},
        {intrinsic("Get Class", ""), "attribute NAME of <IMETHODCALL>"},
        {intrinsic("EnumerateQualifiers", "", "root:x"), "namespace name \"root:x\" is not valid"},
        {message("<SIMPLEREQ><IMETHODCALL NAME=\"EnumerateQualifiers\"><LOCALNAMESPACEPATH>"
                 "<NAMESPACE NAME=\"/\"/></LOCALNAMESPACEPATH></IMETHODCALL></SIMPLEREQ>"),
         "namespace name \"/\" is not valid"},
        {intrinsic("EnumerateQualifiers", "", "root//x"), "namespace name \"\" is not valid"},
        {intrinsic("GetInstance", iparam("InstanceName",
                                         "<INSTANCENAME CLASSNAME=\"A\"><KEYBINDING NAME=\"K\">"
                                         "<KEYVALUE>1</KEYVALUE></KEYBINDING><KEYBINDING "
                                         "NAME=\"k\"><KEYVALUE>2</KEYVALUE></KEYBINDING>"
                                         "</INSTANCENAME>")),
         "key \"k\" is bound twice"},
        {intrinsic("SetProperty", iparam("NewValue",
                                         "<VALUE.REFERENCE><INSTANCEPATH><NAMESPACEPATH><HOST>a b"
                                         "</HOST>" +
                                             localNameSpace("root") +
                                             "</NAMESPACEPATH><INSTANCENAME CLASSNAME=\"A\"/>"
                                             "</INSTANCEPATH></VALUE.REFERENCE>")),
         "host name \"a b\" is not valid"},
    });
}

TEST(HostileInput, ClassesAndMethodsAreBounded) {
    std::string properties;
    for (int i = 0; i < 5000; ++i) {
        properties += "<PROPERTY NAME=\"P" + std::to_string(i) + "\" TYPE=\"string\"/>";
    }
    expectRejected(intrinsic("CreateClass",
                             iparam("NewClass", "<CLASS NAME=\"C\">" + properties + "</CLASS>")),
                   "more than 4096 properties and methods in one class");
    expectRejected(intrinsic("CreateClass", iparam("NewClass",
                                                   "<CLASS NAME=\"C\"><PROPERTY NAME=\"P\" "
                                                   "TYPE=\"string\"/><PROPERTY NAME=\"p\" "
                                                   "TYPE=\"uint8\"/></CLASS>")),
                   "property \"p\" appears twice in class C");
    // An instance has no such bound: its properties are checked in linear time.
    std::string values;
    for (int i = 0; i < 20000; ++i) {
        values += "<PROPERTY NAME=\"P" + std::to_string(i) + "\" TYPE=\"uint32\"><VALUE>" +
                  std::to_string(i) + "</VALUE></PROPERTY>";
    }
    VELCIMMessage m(
        intrinsic("CreateInstance", iparam("NewInstance", instance("TST_Wide", values))));
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    auto i =
        m.getSimpleRequestList()->at(0)->getParameterByName("NewInstance")->getValue()->getObject();
    EXPECT_EQ(i->getPropertyCount(), 20000u);
    EXPECT_EQ(i->getProperty("P19999")->getValue()->getUnsigned(), 19999u);
}

}  // namespace
