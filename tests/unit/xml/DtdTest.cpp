// The parser against the CIM-XML DTD itself: for the elements that carry
// request values, every child the DTD allows is accepted and every other
// element of the DTD is rejected.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "RequestBuilder.h"

using namespace xmltest;

namespace {

// Element name -> content model, from the DTD's ELEMENT declarations.
std::map<std::string, std::string> readDtd() {
    std::ifstream in(std::string(TARN_TEST_DATA_DIR) + "/DSP0203_2.4.0.dtd");
    std::stringstream text;
    text << in.rdbuf();
    std::string dtd = text.str();
    std::map<std::string, std::string> elements;
    std::regex decl(R"(<!ELEMENT\s+([A-Z.]+)\s+([^>]*)>)");
    for (std::sregex_iterator it(dtd.begin(), dtd.end(), decl), end; it != end; ++it) {
        elements[(*it)[1]] = (*it)[2];
    }
    return elements;
}

// The element names a content model mentions.
std::set<std::string> childrenOf(const std::string& model) {
    std::set<std::string> names;
    std::regex name(R"([A-Z][A-Z.]*)");
    for (std::sregex_iterator it(model.begin(), model.end(), name), end; it != end; ++it) {
        if (it->str() != "EMPTY") {
            names.insert(it->str());
        }
    }
    return names;
}

const std::string kNsPath =
    "<NAMESPACEPATH><HOST>h.example.com</HOST><LOCALNAMESPACEPATH>"
    "<NAMESPACE NAME=\"root\"/></LOCALNAMESPACEPATH></NAMESPACEPATH>";

// A minimal valid example of each element that may carry a value.
const std::map<std::string, std::string> kSamples = {
    {"VALUE", "<VALUE>x</VALUE>"},
    {"VALUE.ARRAY", "<VALUE.ARRAY><VALUE>x</VALUE><VALUE.NULL/></VALUE.ARRAY>"},
    {"VALUE.REFERENCE", "<VALUE.REFERENCE><CLASSNAME NAME=\"C\"/></VALUE.REFERENCE>"},
    {"VALUE.REFARRAY", "<VALUE.REFARRAY><VALUE.NULL/></VALUE.REFARRAY>"},
    {"CLASSNAME", "<CLASSNAME NAME=\"C\"/>"},
    {"INSTANCENAME", "<INSTANCENAME CLASSNAME=\"C\"/>"},
    {"QUALIFIER.DECLARATION", "<QUALIFIER.DECLARATION NAME=\"Q\" TYPE=\"boolean\"/>"},
    {"CLASS", "<CLASS NAME=\"C\"/>"},
    {"INSTANCE", "<INSTANCE CLASSNAME=\"C\"/>"},
    {"VALUE.NAMEDINSTANCE",
     "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"C\"/><INSTANCE CLASSNAME=\"C\"/>"
     "</VALUE.NAMEDINSTANCE>"},
    {"CLASSPATH", "<CLASSPATH>" + kNsPath + "<CLASSNAME NAME=\"C\"/></CLASSPATH>"},
    {"LOCALCLASSPATH",
     "<LOCALCLASSPATH>" + localNameSpace("root") + "<CLASSNAME NAME=\"C\"/></LOCALCLASSPATH>"},
    {"INSTANCEPATH", "<INSTANCEPATH>" + kNsPath + "<INSTANCENAME CLASSNAME=\"C\"/></INSTANCEPATH>"},
    {"LOCALINSTANCEPATH", "<LOCALINSTANCEPATH>" + localNameSpace("root") +
                              "<INSTANCENAME CLASSNAME=\"C\"/></LOCALINSTANCEPATH>"},
};

TEST(Dtd, ValueCarryingElementsAcceptExactlyWhatTheDtdAllows) {
    std::map<std::string, std::string> dtd = readDtd();
    if (dtd.empty()) {
        GTEST_SKIP() << "no DTD at " << TARN_TEST_DATA_DIR;
    }
    ASSERT_GT(dtd.size(), 60u);
    // Requests with "@" where the element under test takes the child.
    const std::pair<const char*, std::string> subjects[] = {
        {"IPARAMVALUE", intrinsic("M", iparam("P", "@"))},
        {"PARAMVALUE", extrinsic("M",
                                 "<LOCALCLASSPATH>" + localNameSpace("root") +
                                     "<CLASSNAME NAME=\"C\"/></LOCALCLASSPATH>",
                                 "<PARAMVALUE NAME=\"P\">@</PARAMVALUE>")},
        {"VALUE.REFERENCE", intrinsic("M", iparam("P", "<VALUE.REFERENCE>@</VALUE.REFERENCE>"))},
        {"EXPPARAMVALUE", message("<SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\">"
                                  "<EXPPARAMVALUE NAME=\"NewIndication\">@</EXPPARAMVALUE>"
                                  "</EXPMETHODCALL></SIMPLEEXPREQ>")},
    };
    for (const auto& [subject, request] : subjects) {
        auto wrap = [&request = request](const std::string& child) {
            std::string r = request;
            return r.replace(r.find('@'), 1, child);
        };
        SCOPED_TRACE(subject);
        ASSERT_TRUE(dtd.count(subject));
        std::set<std::string> allowed = childrenOf(dtd[subject]);
        ASSERT_FALSE(allowed.empty());
        for (const std::string& child : allowed) {
            SCOPED_TRACE("allowed " + child);
            ASSERT_TRUE(kSamples.count(child)) << "no sample of " << child;
            VELCIMMessage m(wrap(kSamples.at(child)));
            EXPECT_TRUE(m.isWellFormed()) << m.getErrorText();
        }
        for (const auto& [element, model] : dtd) {
            if (allowed.count(element)) {
                continue;
            }
            SCOPED_TRACE("not allowed " + element);
            VELCIMMessage m(wrap("<" + element + "/>"));
            EXPECT_FALSE(m.isWellFormed());
            EXPECT_TRUE(m.getErrorText().contains("<" + element + "> is not allowed here in <" +
                                                  subject + ">"))
                << m.getErrorText();
        }
    }
}

}  // namespace
