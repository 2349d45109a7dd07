// Helpers of the MOF compiler tests: compile MOF held in memory (files by
// name), into an in-memory sink that may already hold the usual qualifiers.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "mof/MofClassSetSink.h"
#include "mof/MofCompiler.h"

namespace moftest {

// The qualifier declarations the tests build on (as in the DMTF schema).
inline const char* const kQualifiers = R"(
Qualifier Abstract : boolean = false, Scope(class, association, indication), Flavor(EnableOverride, Restricted);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Indication : boolean = false, Scope(class, indication), Flavor(DisableOverride, ToSubclass);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, ToSubclass, Translatable);
Qualifier Override : string = null, Scope(property, reference, method), Flavor(EnableOverride, Restricted);
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride, ToSubclass);
Qualifier MaxLen : uint32 = null, Scope(property, method, parameter);
Qualifier MinValue : sint64 = null, Scope(property, method, parameter);
Qualifier ValueMap : string[], Scope(property, method, parameter);
Qualifier Values : string[], Scope(property, method, parameter), Flavor(EnableOverride, ToSubclass, Translatable);
Qualifier EmbeddedInstance : string = null, Scope(property, method, parameter);
Qualifier Version : string = null, Scope(class, association, indication), Flavor(EnableOverride, Restricted, Translatable);
Qualifier Max : uint32 = null, Scope(reference);
Qualifier Weight : real32 = 1.5, Scope(property);
Qualifier Letter : char16 = 'a', Scope(property);
)";

struct Result {
    bool ok = false;
    std::vector<tarn::MofDiagnostic> diagnostics;
    tarn::MofCompiler::Summary summary;

    // Every diagnostic as "file:line:column: error: message", one per line.
    std::string text() const {
        std::string out;
        for (const auto& d : diagnostics) {
            out += d.toString() + "\n";
        }
        return out;
    }
};

// Files by name, served to the compiler instead of the disk.
inline tarn::MofOptions::FileReader memoryReader(std::map<std::string, std::string> files) {
    auto shared = std::make_shared<const std::map<std::string, std::string>>(std::move(files));
    return [shared](const std::string& path, std::size_t limit, std::string& content,
                    std::string& why) {
        auto it = shared->find(path);
        if (it == shared->end()) {
            return tarn::MofOptions::ReadStatus::NotFound;
        }
        if (it->second.size() > limit) {
            why = "too large";
            return tarn::MofOptions::ReadStatus::Failed;
        }
        content = it->second;
        return tarn::MofOptions::ReadStatus::Ok;
    };
}

// Compiles files["main.mof"] (which may include the others) and commits to sink.
inline Result compileInto(tarn::MofClassSetSink& sink, std::map<std::string, std::string> files,
                          tarn::MofOptions options = {}) {
    options.readFile = memoryReader(std::move(files));
    tarn::MofCompiler compiler(std::move(options), sink.classSet().get());
    compiler.compileFile("main.mof");
    Result r;
    r.ok = compiler.commit(sink);
    r.diagnostics = compiler.diagnostics();
    r.summary = compiler.summary();
    return r;
}

// A sink that already holds kQualifiers in root/cimv2.
inline std::shared_ptr<tarn::MofClassSetSink> sinkWithQualifiers() {
    auto sink = std::make_shared<tarn::MofClassSetSink>();
    tarn::MofCompiler compiler;
    compiler.compileText(kQualifiers, "qualifiers.mof");
    if (!compiler.commit(*sink)) {
        return nullptr;
    }
    return sink;
}

// Compiles one text as main.mof on top of kQualifiers.
inline Result compile(const std::string& mof, std::shared_ptr<tarn::MofClassSetSink>* out = nullptr,
                      tarn::MofOptions options = {}) {
    auto sink = sinkWithQualifiers();
    Result r = compileInto(*sink, {{"main.mof", mof}}, std::move(options));
    if (out) {
        *out = sink;
    }
    return r;
}

}  // namespace moftest
