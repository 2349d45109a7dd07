// The instance operations outside tarnd: method calls parsed from request
// text, an object manager context with a small class hierarchy and a
// scripted operation handler, and the response body an operation writes.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "FakeSocket.h"
#include "OperationFactory.h"
#include "mof/MofClassSetSink.h"
#include "mof/MofCompiler.h"
#include "tarn/CClassSet.h"
#include "tarn/IOperationHandler.h"
#include "tarn/LogCapture.h"
#include "tarn/TraceLog.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMessage.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaMultiResponseOperationBase.h"

namespace optest {

using cimxmlpa::OperationFactory;

inline const VELString kNs = "root/test";

// ---- Requests ----

inline std::string iparam(std::string_view name, std::string_view content) {
    return "<IPARAMVALUE NAME=\"" + std::string(name) + "\">" + std::string(content) +
           "</IPARAMVALUE>";
}
inline std::string value(std::string_view text) {
    return "<VALUE>" + std::string(text) + "</VALUE>";
}
inline std::string className(std::string_view name) {
    return iparam("ClassName", "<CLASSNAME NAME=\"" + std::string(name) + "\"/>");
}
inline std::string propertyList(std::initializer_list<std::string_view> names) {
    std::string s = "<VALUE.ARRAY>";
    for (std::string_view n : names) {
        s += value(n);
    }
    return iparam("PropertyList", s + "</VALUE.ARRAY>");
}
// INSTANCENAME of Test_Leaf with Id = id.
inline std::string leafName(std::string_view id = "7") {
    return "<INSTANCENAME CLASSNAME=\"Test_Leaf\"><KEYBINDING NAME=\"Id\"><KEYVALUE "
           "VALUETYPE=\"numeric\">" +
           std::string(id) + "</KEYVALUE></KEYBINDING></INSTANCENAME>";
}
inline std::string leafInstance() {
    return "<INSTANCE CLASSNAME=\"Test_Leaf\"><PROPERTY NAME=\"Id\" "
           "TYPE=\"uint32\"><VALUE>7</VALUE></PROPERTY><PROPERTY NAME=\"Extra\" "
           "TYPE=\"string\"><VALUE>x</VALUE></PROPERTY></INSTANCE>";
}

// The one intrinsic call of a request message in root/test.
inline VELSmrPtr<VELCIMMethodCall> parseCall(std::string_view method, std::string_view params) {
    std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
        "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
        "NAME=\"" +
        std::string(method) +
        "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
        "NAME=\"test\"/></LOCALNAMESPACEPATH>" +
        std::string(params) + "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    VELCIMMessage message(body);
    EXPECT_TRUE(message.isWellFormed()) << message.getErrorText() << "\n" << body;
    if (!message.isWellFormed() || message.getSimpleRequestList().isNull()) {
        throw std::runtime_error("request not parsed");
    }
    return message.getSimpleRequestList()->at(0);
}

// ---- Object manager side ----

// Test_Base (Id, Name) <- Test_Middle (Name again, Size) <- Test_Leaf (Extra,
// Flag), Test_Other (Id) beside them, and Test_Holder, whose Parts embed
// Test_Part instances.
inline std::shared_ptr<tarn::CClassSet> makeClasses() {
    tarn::MofClassSetSink sink;
    tarn::MofCompiler compiler;
    EXPECT_TRUE(compiler.compileText(R"(#pragma namespace ("root/test")
        Qualifier EmbeddedInstance : string = null, Scope(property, method, parameter);
        class Test_Base { uint32 Id; string Name; };
        class Test_Middle : Test_Base { string Name; uint64 Size; };
        class Test_Leaf : Test_Middle { string Extra; boolean Flag; };
        class Test_Other { uint32 Id; };
        class Test_Part { string Id; };
        class Test_Holder { string Id; [EmbeddedInstance("Test_Part")] string Parts[]; };)"));
    EXPECT_TRUE(compiler.commit(sink));
    for (const tarn::MofDiagnostic& d : compiler.diagnostics()) {
        ADD_FAILURE() << d.toString();
    }
    return sink.classSet();
}

inline VELSmrPtr<CVelaInstanceName> instanceName(const char* cls, std::uint32_t id) {
    auto name = makeVELSmrPtr<CVelaInstanceName>(
        cls, VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath("", kNs)));
    name->addKeyBinding("Id", CVelaValue::makeUint32(id));
    return name;
}

// An instance of Test_Leaf whose properties come in an order of their own.
inline VELSmrPtr<IVelaObject> leaf(std::uint32_t id) {
    auto obj = makeVELSmrPtr<CVelaObject>("Test_Leaf", instanceName("Test_Leaf", id));
    obj->addProperty("Flag", CVelaValue::makeBoolean(true));
    obj->addProperty("Extra", CVelaValue::makeString("x"));
    obj->addProperty("Size", CVelaValue::makeUint64(4096));
    obj->addProperty("Name", CVelaValue::makeString("leaf"));
    obj->addProperty("Id", CVelaValue::makeUint32(id));
    return obj;
}

class FakeHandler : public tarn::IOperationHandler {
  public:
    std::function<void(const VELSmrPtr<IVelaOperation>&)> run;
    int calls = 0;
    void processOperation(const VELSmrPtr<IVelaOperation>& operation) override {
        ++calls;
        if (run) {
            run(operation);
        }
    }
};

class FakeContext : public IVelaOperationHandlerContext {
  public:
    std::shared_ptr<tarn::CClassSet> classes = makeClasses();
    FakeHandler handler;
    // A class lookup of this name throws (a broken repository).
    VELString failingClass;
    // The object manager offers no operation handler.
    bool noHandler = false;

    CIMOMState getCurrentState() const override { return STARTED; }
    void registerRequest(const VELHTTPRequest&) override {}
    void logRequest(const VELHTTPRequest&) override {}
    VELSmrPtr<tarn::PortInfo> getPortInfo() const override {
        return makeVELSmrPtr<tarn::PortInfo>();
    }
    VELString getHostName() const override { return "localhost"; }
    VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                   const VELString& className) override {
        if (!failingClass.isNull() && className.equalsIgnoreCase(failingClass)) {
            throw VelaBaseException("CIM", "FakeContext", "getClass", "repository unreadable", 13);
        }
        return classes->getClass(nameSpace, className);
    }
    tarn::IOperationHandler* getOperationHandler() override {
        return noHandler ? nullptr : &handler;
    }
};

// Fails an operation the way tarnd's handler does: context first, then code.
inline void fail(IVelaOperation& op, int code, const char* message) {
    op.setErrorContext(VELSmrPtr<VelaBaseException>(
        new VelaBaseException("CIM", "FakeHandler", "", message, code)));
    op.setErrorCode(code);
}

// Adds the items through one writer of the operation's collection.
template <class T>
void produce(IVelaOperation& operation, const std::vector<T>& items) {
    auto& op = dynamic_cast<IVelaMultiResponseOperation<T>&>(operation);
    auto writer = op.getResponse();
    for (const T& item : items) {
        writer->add(item, true);
    }
    writer->Close();
}

// ---- Running an operation ----

// What the operation wrote into the body of its response.
class Body {
  public:
    Body() : out(socket, VELHTTPOperation::HTTP_1_0, false) {}
    std::string text() {
        out.finish();
        std::size_t end = socket.written.find("\r\n\r\n");
        return end == std::string::npos ? std::string() : socket.written.substr(end + 4);
    }

    tarntest::FakeSocket socket;
    VELGenericHTTPOStream out;
};

// Makes the operation for the call as the adapter does and runs it through
// the handler; returns the operation.
inline OperationFactory::Operation run(FakeContext& context, const std::string& method,
                                       const std::string& params, Body& body) {
    VELSmrPtr<VELCIMMethodCall> call = parseCall(method, params);
    OperationFactory::Operation op =
        OperationFactory::createIntrinsic(method, &context, call, nullptr);
    if (op.isNull()) {
        ADD_FAILURE() << "no operation for " << method;
        return op;
    }
    op->process(body.out, VELSmrPtr<IVelaOperation>(op));
    return op;
}

inline std::string response(std::string_view method, std::string_view content) {
    return "<SIMPLERSP><IMETHODRESPONSE NAME=\"" + std::string(method) + "\">" +
           std::string(content) + "</IMETHODRESPONSE></SIMPLERSP>";
}

// Keeps the trace quiet while a test logs (captures still get every line).
class QuietTrace {
  public:
    QuietTrace() : _level(tarn::TraceLog::getLevel()) { tarn::TraceLog::setLevel(0); }
    ~QuietTrace() { tarn::TraceLog::setLevel(_level); }

  private:
    int _level;
};

}  // namespace optest
