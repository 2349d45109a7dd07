// Intrinsic operations in a running tarnd, as raw requests and through
// wbemcli: request and response builders, the test classes (a three-level
// hierarchy with instances, and two classes of the failing provider
// plug-in), and wbemcli runs.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "CimXmlFixture.h"

namespace tarntest {
namespace ops {

using namespace cimxml;

// Classes of the tests, loaded with tarn-mof beside the default schema. The
// two TARN_TestFails* classes are served by the failing provider plug-in.
inline const char* const kTestMof = R"(
class TARN_TestBase {
    [Key] string Id;
    string Label;
};
class TARN_TestMiddle : TARN_TestBase {
    [Override("Label")] string Label = "unnamed";
    uint32 Size;
};
class TARN_TestLeaf : TARN_TestMiddle {
    boolean Flag;
    string Extra;
};
class TARN_TestFailsAtOnce {
    [Key] uint32 Id;
    string Name;
};
class TARN_TestFailsLater {
    [Key] uint32 Id;
    string Name;
};
instance of TARN_TestMiddle { Id = "m1"; Label = "middle"; Size = 5; };
instance of TARN_TestLeaf { Id = "l1"; Label = "leaf"; Size = 7; Flag = TRUE; Extra = "x<y"; };
)";

inline std::string iparam(const std::string& name, const std::string& content) {
    return "<IPARAMVALUE NAME=\"" + name + "\">" + content + "</IPARAMVALUE>";
}
inline std::string className(const std::string& name) {
    return iparam("ClassName", "<CLASSNAME NAME=\"" + name + "\"/>");
}
inline std::string boolean(const std::string& name, const std::string& word) {
    return iparam(name, "<VALUE>" + word + "</VALUE>");
}
// One intrinsic call in root/cimv2.
inline std::string call(const std::string& method, const std::string& params) {
    return message("<SIMPLEREQ><IMETHODCALL NAME=\"" + method + "\">" + kRootCimv2 + params +
                   "</IMETHODCALL></SIMPLEREQ>");
}
inline std::string answer(const std::string& method, const std::string& content) {
    return response("<SIMPLERSP><IMETHODRESPONSE NAME=\"" + method + "\">" + content +
                    "</IMETHODRESPONSE></SIMPLERSP>");
}

inline std::string prop(const std::string& name, const std::string& type, const std::string& text) {
    return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"><VALUE>" + text +
           "</VALUE>\n</PROPERTY>\n";
}
inline std::string named(const std::string& cls, const std::string& keyType, const std::string& key,
                         const std::string& properties) {
    const bool numeric = keyType != "string";
    return "<VALUE.NAMEDINSTANCE>\n<INSTANCENAME CLASSNAME=\"" + cls +
           "\">\n<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"" +
           (numeric ? "numeric" : "string") + "\" TYPE=\"" + keyType + "\">" + key +
           "</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n<INSTANCE CLASSNAME=\"" + cls + "\">\n" +
           properties + "</INSTANCE>\n</VALUE.NAMEDINSTANCE>\n";
}

class OperationsFixture : public CimXmlFixture {
  protected:
    // tarnd on a repository that also holds the test classes, with the
    // failing provider plug-in.
    void startWithTestClasses() {
        std::ofstream(dir.path() / "test.mof") << kTestMof;
        ChildProcess mof;
        mof.start({std::string(TARN_BIN_DIR) + "/tarn-mof", "--state-dir", dir.path().string(),
                   (dir.path() / "test.mof").string()});
        ASSERT_EQ(mof.waitExit(in(60s)), std::optional<int>(0)) << mof.output();
        startTarnd("[Providers]\nModules = " + std::string(TARN_LIB_DIR) +
                   "/libtarn_test_FailingProvider.so\n");
    }

    Response invoke(const std::string& method, const std::string& params) {
        return exchange(request(cimHeaders(method), call(method, params)));
    }
    // A served call: 200 with exactly this body, which the DTD accepts.
    void expectBody(const Response& r, const std::string& body) {
        EXPECT_EQ(r.status, 200);
        EXPECT_EQ(r.body, body);
        EXPECT_EQ(dtdErrors(r.body), "");
    }

    struct Client {
        int status;
        std::string output;
        // The output lines, sorted (the order of instances is the provider's).
        std::vector<std::string> lines() const {
            std::vector<std::string> v;
            std::istringstream in(output);
            for (std::string line; std::getline(in, line);) {
                v.push_back(line);
            }
            std::sort(v.begin(), v.end());
            return v;
        }
    };
    // wbemcli with op, the object path below root/cimv2, and more arguments.
    Client wbemcli(const std::string& op, const std::string& path,
                   std::vector<std::string> more = {}) {
        std::vector<std::string> argv = {"/usr/bin/wbemcli", op, url(path)};
        argv.insert(argv.end(), more.begin(), more.end());
        ChildProcess client;
        client.start(argv);
        auto status = client.waitExit(in(30s));
        return {status.value_or(-1), client.output()};
    }
    std::string url(const std::string& path) const {
        return "http://admin:" + password + "@127.0.0.1:" + std::to_string(httpPort) +
               "/root/cimv2:" + path;
    }
    // How wbemcli prints an object path it received.
    std::string printed(const std::string& path) const {
        return "127.0.0.1:" + std::to_string(httpPort) + "/root/cimv2:" + path;
    }

    void SetUp() override {
        if (!std::filesystem::exists("/usr/bin/wbemcli")) {
            GTEST_SKIP() << "wbemcli is not installed (scripts/bootstrap installs it)";
        }
    }
};

}  // namespace ops
}  // namespace tarntest
