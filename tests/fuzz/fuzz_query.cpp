// libFuzzer target: the query engine on arbitrary text. The first byte picks
// the language (even: WQL, odd: DMTF:CQL), the rest is the query; what
// compiles against a small schema is evaluated on two instances and used to
// project them. Only the engine's own failures (VelaBaseException) are
// expected; anything else is a fault.
#include <cstddef>
#include <cstdint>
#include <string>

#include "mof/MofClassSetSink.h"
#include "mof/MofCompiler.h"
#include "query/CompiledQuery.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace {

const char* const kSchema = R"(
#pragma namespace ("root/fuzz")
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier EmbeddedObject : boolean = false, Scope(property, method, parameter);
Qualifier EmbeddedInstance : string = null, Scope(property, method, parameter);
class F_Part { [Key] string Id; uint32 Size; };
class F_Item {
    [Key] string Id; string Name; uint32 Count; sint64 Delta; real64 Ratio; boolean Flag;
    datetime When; char16 Letter; string Tags[];
    [EmbeddedInstance("F_Part")] string Part;
    [EmbeddedObject] string Any;
};
class F_Sub : F_Item { string Extra; };
)";

struct Fixture {
    std::shared_ptr<tarn::CClassSet> schema;
    std::vector<VELSmrPtr<IVelaObject>> instances;

    Fixture() {
        tarn::MofClassSetSink sink;
        tarn::MofCompiler compiler;
        compiler.compileText(kSchema, "fuzz.mof");
        compiler.commit(sink);
        schema = sink.classSet();
        auto part = makeVELSmrPtr<CVelaObject>("F_Part");
        part->addProperty("Id", CVelaValue::makeString("p"));
        part->addProperty("Size", CVelaValue::makeUint32(7));
        auto full = makeVELSmrPtr<CVelaObject>("F_Sub");
        full->addProperty("Id", CVelaValue::makeString("a"));
        full->addProperty("Name", CVelaValue::makeString("apple \xC3\xA9\xFF"));
        full->addProperty("Count", CVelaValue::makeUint32(10));
        full->addProperty("Delta", CVelaValue::makeSint64(-3));
        full->addProperty("Ratio", CVelaValue::makeReal64(0.5));
        full->addProperty("Flag", CVelaValue::makeBoolean(true));
        full->addProperty("When", CVelaValue::makeDateTime("20240101120000.000000+000"));
        full->addProperty("Letter", CVelaValue::makeChar16(u'x'));
        full->addProperty("Part", CVelaValue::makeObject(part));
        full->addProperty("Any", CVelaValue::makeObject(part));
        full->addProperty("Extra", CVelaValue::makeString(""));
        auto sparse = makeVELSmrPtr<CVelaObject>("F_Item");
        sparse->addProperty("Id", CVelaValue::makeString("b"));
        sparse->addProperty("Name", CVelaValue::makeUntyped("12"));
        instances = {full, sparse};
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fixture fixture;
    if (size == 0) {
        return 0;
    }
    const char* language = data[0] % 2 ? "DMTF:CQL" : "WQL";
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    try {
        auto query =
            tarn::query::CompiledQuery::compile(language, text, *fixture.schema, "root/fuzz");
        for (const auto& instance : fixture.instances) {
            query->evaluate(*instance);
            query->project(instance);
        }
    } catch (const VelaBaseException&) {
        // A query refused, with its reason.
    }
    return 0;
}
