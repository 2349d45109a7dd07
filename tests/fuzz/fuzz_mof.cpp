// libFuzzer target: the MOF compiler on arbitrary text, from the lexer to the
// sink. The input is compiled on top of a few qualifier declarations (so
// that classes and instances get past the first checks) and may include
// itself or the declarations by name; nothing is read from the disk.
#include <cstddef>
#include <cstdint>
#include <string>

#include "mof/MofClassSetSink.h"
#include "mof/MofCompiler.h"

namespace {

const char* const kQualifiers = R"(
Qualifier Abstract : boolean = false, Scope(class, association, indication), Flavor(Restricted);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Indication : boolean = false, Scope(class, indication), Flavor(DisableOverride);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Description : string = null, Scope(any), Flavor(Translatable);
Qualifier Override : string = null, Scope(property, reference, method), Flavor(Restricted);
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride, ToSubclass);
Qualifier Out : boolean = false, Scope(parameter), Flavor(DisableOverride, ToSubclass);
Qualifier MaxLen : uint32 = null, Scope(property, method, parameter);
Qualifier ValueMap : string[], Scope(property, method, parameter);
Qualifier EmbeddedInstance : string = null, Scope(property, method, parameter);
Qualifier Weight : real32 = 1.5, Scope(property);
Qualifier Letter : char16 = 'a', Scope(property);
Qualifier Since : datetime = null, Scope(property);
)";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string input(reinterpret_cast<const char*>(data), size);
    tarn::MofOptions options;
    options.limits.maxErrors = 20;
    options.limits.maxIncludeDepth = 4;
    options.limits.maxTotalBytes = std::size_t(1) << 20;
    options.limits.maxLiteralBytes = std::size_t(1) << 16;
    options.limits.maxArrayElements = 4096;
    options.readFile = [&input](const std::string& path, std::size_t limit, std::string& content,
                                std::string& why) {
        if (path == "input.mof") {
            content = input;
        } else if (path == "qualifiers.mof") {
            content = kQualifiers;
        } else {
            return tarn::MofOptions::ReadStatus::NotFound;
        }
        if (content.size() > limit) {
            why = "too large";
            return tarn::MofOptions::ReadStatus::Failed;
        }
        return tarn::MofOptions::ReadStatus::Ok;
    };
    tarn::MofClassSetSink sink;
    tarn::MofCompiler compiler(options, sink.classSet().get());
    compiler.compileFile("qualifiers.mof");
    compiler.compileFile("input.mof");
    compiler.commit(sink);
    return 0;
}
