// Enumerations whose provider runs on its own thread while the operation
// writes, as in tarnd: results flow through the bounded collection, failures
// from the provider's thread reach the response, and a client that goes away
// stops the provider.
#include <atomic>
#include <thread>

#include "OperationTestSupport.h"
#include "vela/VELNetException.h"

namespace {

using namespace optest;

class StreamingTest : public ::testing::Test {
  protected:
    void TearDown() override {
        if (provider.joinable()) {
            provider.join();
        }
    }

    // The handler hands a writer to a provider thread that adds `count` names
    // of Test_Leaf and then fails with failCode (0: ends normally).
    void provide(int count, int failCode = 0) {
        context.handler.run = [this, count, failCode](const VELSmrPtr<IVelaOperation>& op) {
            auto& streaming =
                dynamic_cast<IVelaMultiResponseOperation<VELSmrPtr<IVelaInstanceName>>&>(*op);
            auto writer = streaming.getResponse();
            // The thread holds the operation, as the handler's tasks do.
            provider = std::thread([this, op, writer, count, failCode] {
                for (int i = 0; i < count; ++i) {
                    if (!writer->add(instanceName("Test_Leaf", static_cast<std::uint32_t>(i)),
                                     true)) {
                        stopped = true;
                        break;
                    }
                    ++added;
                }
                if (failCode != 0) {
                    fail(*op, failCode, "provider failed");
                    writer->setErrorCode(failCode);
                }
                writer->Close();
            });
        };
    }

    static std::size_t countOf(const std::string& text, const std::string& what) {
        std::size_t n = 0;
        for (std::size_t at = text.find(what); at != std::string::npos;
             at = text.find(what, at + 1)) {
            ++n;
        }
        return n;
    }

    FakeContext context;
    std::thread provider;
    std::atomic<int> added{0};
    std::atomic<bool> stopped{false};
    QuietTrace quiet;
};

TEST_F(StreamingTest, MoreResultsThanTheCollectionHoldsAllArriveInOrder) {
    const int count = 5000;  // several times the capacity of the collection
    provide(count);
    Body body;
    run(context, "EnumerateInstanceNames", className("Test_Leaf"), body);
    provider.join();
    std::string text = body.text();
    EXPECT_EQ(countOf(text, "<INSTANCENAME "), static_cast<std::size_t>(count));
    EXPECT_LT(text.find(">0</KEYVALUE>"), text.find(">1</KEYVALUE>"));
    EXPECT_LT(text.find(">4998</KEYVALUE>"), text.find(">4999</KEYVALUE>"));
    EXPECT_EQ(text.rfind("</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP>"),
              text.size() - std::string("</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP>").size());
}

// Before its first result the failure is the answer; later, the results so
// far end well-formed.
TEST_F(StreamingTest, AProviderThreadFailingYieldsTheErrorOrEndsTheResults) {
    for (int count : {0, 1500}) {
        SCOPED_TRACE(count);
        provide(count, 6);
        Body body;
        run(context, "EnumerateInstanceNames", className("Test_Leaf"), body);
        provider.join();
        std::string text = body.text();
        if (count == 0) {
            EXPECT_EQ(text, response("EnumerateInstanceNames",
                                     "<ERROR CODE=\"6\" DESCRIPTION=\"The requested object cannot "
                                     "be found. (provider failed)\"/>"));
        } else {
            EXPECT_EQ(countOf(text, "<INSTANCENAME "), 1500u);
            EXPECT_EQ(text.find("<ERROR"), std::string::npos);
            EXPECT_EQ(text.substr(text.size() - 45),
                      "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP>");
        }
    }
}

TEST_F(StreamingTest, AClientThatGoesAwayStopsTheProvider) {
    // Endless for practical purposes: only the client's leaving ends it.
    provide(100000000);
    Body body;
    body.socket.failAfter = 100000;
    EXPECT_THROW(run(context, "EnumerateInstanceNames", className("Test_Leaf"), body),
                 VELNetException);
    provider.join();
    EXPECT_TRUE(stopped);
    EXPECT_LT(added.load(), 100000000);
}

}  // namespace
