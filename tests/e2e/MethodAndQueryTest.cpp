// Extrinsic methods and ExecQuery in a running tarnd with the sample
// provider plug-in: wbemcli (a client written elsewhere) calls the sample
// counter's methods; raw requests compare whole response bodies, which the
// DTD must accept, and check how the adapter reads what it refuses.
#include <gtest/gtest.h>

#include "CimXmlFixture.h"

namespace tarntest {
namespace {

using namespace cimxml;

const char* const kReadWho = "cimxmlpa::InvokeMethodOperation::initialize";

std::string classPath(const std::string& cls) {
    return "<LOCALCLASSPATH>" + kRootCimv2 + "<CLASSNAME NAME=\"" + cls + "\"/></LOCALCLASSPATH>";
}
std::string counterPath(const std::string& name) {
    return "<LOCALINSTANCEPATH>" + kRootCimv2 +
           "<INSTANCENAME CLASSNAME=\"TARN_SampleCounter\"><KEYBINDING NAME=\"Name\"><KEYVALUE "
           "VALUETYPE=\"string\">" +
           name + "</KEYVALUE></KEYBINDING></INSTANCENAME></LOCALINSTANCEPATH>";
}
std::string extrinsic(const std::string& method, const std::string& target,
                      const std::string& params) {
    return message("<SIMPLEREQ><METHODCALL NAME=\"" + method + "\">" + target + params +
                   "</METHODCALL></SIMPLEREQ>");
}
std::string param(const std::string& name, const std::string& value, const std::string& type = "") {
    return "<PARAMVALUE NAME=\"" + name + "\"" +
           (type.empty() ? "" : " PARAMTYPE=\"" + type + "\"") + "><VALUE>" + value +
           "</VALUE></PARAMVALUE>";
}
// The INSTANCEPATH of a counter as tarnd writes it, on host.
std::string counterInstancePath(const std::string& host, const std::string& name) {
    return "<INSTANCEPATH>\n<NAMESPACEPATH>\n<HOST>" + host +
           "</HOST>\n<LOCALNAMESPACEPATH>\n<NAMESPACE NAME=\"root\"/>\n<NAMESPACE "
           "NAME=\"cimv2\"/>\n</LOCALNAMESPACEPATH>\n</NAMESPACEPATH>\n<INSTANCENAME "
           "CLASSNAME=\"TARN_SampleCounter\">\n<KEYBINDING NAME=\"Name\"><KEYVALUE "
           "VALUETYPE=\"string\" TYPE=\"string\">" +
           name + "</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n</INSTANCEPATH>\n";
}
std::string methodResponse(const std::string& method, const std::string& content) {
    return response("<SIMPLERSP><METHODRESPONSE NAME=\"" + method + "\">" + content +
                    "</METHODRESPONSE></SIMPLERSP>");
}

class MethodAndQueryTest : public CimXmlFixture {
  protected:
    void SetUp() override {
        ChildProcess mof;
        mof.start({std::string(TARN_BIN_DIR) + "/tarn-mof", "--state-dir", dir.path().string(),
                   std::string(TARN_SOURCE_DIR) + "/examples/providers/TARN_SampleCounter.mof"});
        ASSERT_EQ(mof.waitExit(in(60s)), std::optional<int>(0)) << mof.output();
        startTarnd("[Providers]\nModules = " + std::string(TARN_LIB_DIR) +
                   "/libtarn_sample_provider.so\n");
    }

    Response post(const std::string& method, const std::string& body,
                  const std::string& object = "root%2Fcimv2") {
        return exchange(
            request("Content-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
                    "MethodCall\r\nCIMMethod: " +
                        method + "\r\nCIMObject: " + object + "\r\n",
                    body));
    }
    // A served call: 200 with exactly this body, which the DTD accepts.
    void expectBody(const Response& r, const std::string& body) {
        EXPECT_EQ(r.status, 200);
        EXPECT_EQ(r.body, body);
        EXPECT_EQ(dtdErrors(r.body), "");
    }
    // The host name tarnd writes into paths.
    static std::string hostIn(const std::string& body) {
        std::size_t start = body.find("<HOST>");
        std::size_t end = body.find("</HOST>");
        return start == std::string::npos || end == std::string::npos
                   ? std::string()
                   : body.substr(start + 6, end - start - 6);
    }

    struct Client {
        int status;
        std::string output;
    };
    Client wbemcli(const std::string& op, const std::string& path, const std::string& more) {
        ChildProcess client;
        client.start({"/usr/bin/wbemcli", op,
                      "http://admin:" + password + "@127.0.0.1:" + std::to_string(httpPort) +
                          "/root/cimv2:" + path,
                      more});
        auto status = client.waitExit(in(30s));
        return {status.value_or(-1), client.output()};
    }
};

TEST_F(MethodAndQueryTest, WbemcliCallsTheSampleCountersStaticAndInstanceMethods) {
    if (!std::filesystem::exists("/usr/bin/wbemcli")) {
        GTEST_SKIP() << "wbemcli is not installed (scripts/bootstrap installs it)";
    }
    const std::string at = "127.0.0.1:" + std::to_string(httpPort) + "/root/cimv2:";
    Client created = wbemcli("cm", "TARN_SampleCounter", "Create.Name=\"hits\"");
    EXPECT_EQ(created.status, 0) << created.output;
    EXPECT_NE(created.output.find(at + "TARN_SampleCounter Create: 0, Counter (reference): "),
              std::string::npos)
        << created.output;
    EXPECT_NE(created.output.find("TARN_SampleCounter.Name=\"hits\""), std::string::npos);

    const std::string counter = "TARN_SampleCounter.Name=\"hits\"";
    for (auto [amount, total] : {std::pair{"5", "5"}, std::pair{"37", "42"}}) {
        Client added = wbemcli("cm", counter, std::string("Add.Amount=") + amount);
        EXPECT_EQ(added.status, 0) << added.output;
        EXPECT_EQ(added.output,
                  at + counter + " Add: 0, Total (uint64): " + std::string(total) + "\n");
    }
    Client read = wbemcli("gi", counter, "Value");
    EXPECT_EQ(read.output, at + counter + " Value=42\n");

    Client unknown = wbemcli("cm", counter, "Subtract.Amount=1");
    EXPECT_NE(unknown.status, 0);
    EXPECT_NE(unknown.output.find("(17) CIM_ERR_METHOD_NOT_FOUND"), std::string::npos)
        << unknown.output;
}

TEST_F(MethodAndQueryTest, MethodAndQueryResponsesAreWholeAndValid) {
    Response created =
        post("Create", extrinsic("Create", classPath("TARN_SampleCounter"), param("Name", "c1")),
             "root%2Fcimv2:TARN_SampleCounter");
    const std::string host = hostIn(created.body);
    ASSERT_FALSE(host.empty()) << created.body;
    expectBody(created, methodResponse("Create",
                                       "<RETURNVALUE PARAMTYPE=\"uint32\"><VALUE>0</VALUE>\n"
                                       "</RETURNVALUE>\n<PARAMVALUE NAME=\"Counter\" "
                                       "PARAMTYPE=\"reference\"><VALUE.REFERENCE>" +
                                           counterInstancePath(host, "c1") +
                                           "</VALUE.REFERENCE>\n</PARAMVALUE>"));

    // Untyped (as wbemcli sends it) and typed as declared.
    for (const std::string type : {"", "uint64"}) {
        expectBody(
            post("Add", extrinsic("Add", counterPath("c1"), param("Amount", "3", type)),
                 "root%2Fcimv2:TARN_SampleCounter.Name%3D%22c1%22"),
            methodResponse("Add", std::string("<RETURNVALUE PARAMTYPE=\"uint32\"><VALUE>0</VALUE>\n"
                                              "</RETURNVALUE>\n<PARAMVALUE NAME=\"Total\" "
                                              "PARAMTYPE=\"uint64\"><VALUE>") +
                                      (type.empty() ? "3" : "6") + "</VALUE>\n</PARAMVALUE>"));
    }

    const std::string query =
        "<SIMPLEREQ><IMETHODCALL NAME=\"ExecQuery\">" + kRootCimv2 +
        "<IPARAMVALUE NAME=\"QueryLanguage\"><VALUE>WQL</VALUE></IPARAMVALUE><IPARAMVALUE "
        "NAME=\"Query\"><VALUE>SELECT Value FROM TARN_SampleCounter WHERE Value &gt; 5 AND Name "
        "LIKE 'c%'</VALUE></IPARAMVALUE></IMETHODCALL></SIMPLEREQ>";
    expectBody(post("ExecQuery", message(query)),
               response("<SIMPLERSP><IMETHODRESPONSE NAME=\"ExecQuery\"><IRETURNVALUE><VALUE."
                        "OBJECTWITHPATH>\n" +
                        counterInstancePath(host, "c1") +
                        "<INSTANCE CLASSNAME=\"TARN_SampleCounter\">\n<PROPERTY NAME=\"Value\" "
                        "TYPE=\"uint64\"><VALUE>6</VALUE>\n</PROPERTY>\n</INSTANCE>\n</"
                        "VALUE.OBJECTWITHPATH>\n</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP>"));
}

TEST_F(MethodAndQueryTest, RequestsTheAdapterCannotReadAreRefusedWithTheirReason) {
    struct Case {
        std::string method;
        std::string body;
        std::string who;
        std::string logged;
    };
    const std::string counter = counterPath("c1");
    const std::string execQuery = "cimxmlpa::ExecQueryOperation::initialize";
    auto query = [](const std::string& language, const std::string& text) {
        return message("<SIMPLEREQ><IMETHODCALL NAME=\"ExecQuery\">" + kRootCimv2 +
                       "<IPARAMVALUE NAME=\"QueryLanguage\"><VALUE>" + language +
                       "</VALUE></IPARAMVALUE><IPARAMVALUE NAME=\"Query\"><VALUE>" + text +
                       "</VALUE></IPARAMVALUE></IMETHODCALL></SIMPLEREQ>");
    };
    const Case cases[] = {
        {"Add", extrinsic("Add", counter, param("Amount", "1", "uint65")), kReadWho,
         "Unknown PARAMTYPE: PARAMVALUE NAME=Amount PARAMTYPE=uint65 on method Add for class "
         "TARN_SampleCounter"},
        {"Add",
         extrinsic("Add", counter, param("Amount", "1", "uint64") + param("AMOUNT", "2", "uint64")),
         kReadWho, "Duplicate Input Parameter: amount"},
        {"ExecQuery", query("WQL", ""), execQuery, "Missing Query parameter."},
        {"ExecQuery", query("", "SELECT * FROM TARN_SampleCounter"), execQuery,
         "Missing QueryLanguage parameter."},
    };
    for (const Case& c : cases) {
        Response r = post(c.method, c.body);
        EXPECT_EQ(r.status, 200) << c.logged;
        EXPECT_NE(r.body.find("<ERROR CODE=\"4\""), std::string::npos) << r.body;
        EXPECT_EQ(dtdErrors(r.body), "") << c.logged;
        EXPECT_TRUE(traced(1, c.who, c.logged)) << c.logged << "\n" << trace();
    }
}

}  // namespace
}  // namespace tarntest
