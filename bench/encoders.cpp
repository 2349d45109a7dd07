// Throughput of the CIM-XML encoders on the paths of large results:
//  - 100,000 instances of 10 properties (mixed types, one string value in
//    five needing escapes) written as VALUE.NAMEDINSTANCE into a pre-sized
//    buffer, beside a plain copy of the same bytes, which bounds what any
//    writer of that output could reach;
//  - the 100 largest classes of a CIM-like schema, with qualifiers, methods
//    and class origins, written as GetClass writes them.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "CIMXMLUtil.h"
#include "tarn/CClassSet.h"
#include "tarn/CQualifier.h"
#include "tarn/ISchemaCatalog.h"
#include "tarn/QualifierFlavor.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"

namespace {

using cimxmlpa::CIMXMLUtil;
using tarn::QualifierFlavor;

// A stream buffer over memory reserved once: writing never allocates, so the
// figures show the encoders alone. Overflow beyond the reservation fails.
class FixedBuffer : public std::streambuf {
  public:
    explicit FixedBuffer(std::size_t capacity) : _data(new char[capacity]), _capacity(capacity) {
        // Touched once here, so that no run pays for first-touch page faults.
        std::memset(_data.get(), 0, capacity);
        rewind();
    }
    void rewind() { setp(_data.get(), _data.get() + _capacity); }
    std::size_t size() const { return static_cast<std::size_t>(pptr() - pbase()); }
    const char* data() const { return _data.get(); }
    char* raw() { return _data.get(); }

  private:
    std::unique_ptr<char[]> _data;
    std::size_t _capacity;
};

constexpr int kInstances = 100000;
const char* const kNameSpace = "root/cimv2";

VELSmrPtr<tarn::IQualifier> qualifier(const char* name, VELSmrPtr<IVelaValue> v,
                                      std::uint32_t flavor = QualifierFlavor::Default) {
    VELSmrPtr<IVelaType> type = v->getType();
    return VELSmrPtr<tarn::IQualifier>(new tarn::CQualifier(name, type, std::move(v), flavor));
}

VELSmrPtr<IVelaValue> stringArray(const std::vector<std::string>& items) {
    auto a = std::make_shared<CVelaValue::ScalarArray>();
    for (const auto& s : items) {
        a->emplace_back(VELString(s));
    }
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::String, true), std::move(a));
}

void installDiskClass() {
    auto set = std::make_shared<tarn::CClassSet>();
    auto cls = makeVELSmrPtr<CVelaClass>("TARN_Disk", "");
    for (const char* key : {"CreationClassName", "Name"}) {
        auto p = makeVELSmrPtr<tarn::CPropertyDef>(key, CVelaType::string);
        p->addQualifier(qualifier("Key", CVelaValue::makeBoolean(true)));
        cls->addProperty(p);
    }
    set->addClass(kNameSpace, cls);
    tarn::ISchemaCatalog::install(set);
}

// Ten properties: four strings (two of them need escapes in two instances of
// five each, one string value in five overall), a datetime, integers, a
// boolean, a real and an array.
std::vector<VELSmrPtr<IVelaObject>> buildInstances() {
    installDiskClass();
    auto ns = VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath("", kNameSpace));
    std::vector<VELSmrPtr<IVelaObject>> all;
    all.reserve(kInstances);
    for (int i = 0; i < kInstances; ++i) {
        std::string id = "disk-" + std::to_string(100000 + i);
        auto name = makeVELSmrPtr<CVelaInstanceName>("TARN_Disk", ns);
        name->addKeyBinding("CreationClassName", CVelaValue::makeString("TARN_Disk"));
        name->addKeyBinding("Name", CVelaValue::makeString(id));
        auto obj = makeVELSmrPtr<CVelaObject>("TARN_Disk", name);
        obj->reserve(10);
        obj->addProperty("CreationClassName", CVelaValue::makeString("TARN_Disk"));
        obj->addProperty("Name", CVelaValue::makeString(id));
        obj->addProperty("Caption", CVelaValue::makeString(
                                        i % 5 < 2 ? "Disk <" + id + "> of \"rack 7\" & shelf 3"
                                                  : "Disk " + id + " of rack 7, shelf 3"));
        obj->addProperty("ElementName",
                         CVelaValue::makeString(i % 5 == 2 || i % 5 == 3 ? "Tom's & Jerry's disk"
                                                                         : "Tom and Jerry disk"));
        obj->addProperty("Size", CVelaValue::makeUint64(1000204886016ULL + i));
        obj->addProperty("BlockSize", CVelaValue::makeUint32(4096));
        obj->addProperty("Enabled", CVelaValue::makeBoolean(i % 3 != 0));
        obj->addProperty("Temperature", CVelaValue::makeReal64(31.5 + (i % 100) / 8.0));
        obj->addProperty("InstallDate", CVelaValue::makeDateTime("20240517093000.000000+000"));
        auto status = std::make_shared<CVelaValue::ScalarArray>();
        status->emplace_back(std::uint64_t(2));
        status->emplace_back(std::uint64_t(i % 7));
        obj->addProperty(
            "OperationalStatus",
            makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::UInt16, true), std::move(status)));
        all.push_back(obj);
    }
    return all;
}

const std::vector<VELSmrPtr<IVelaObject>>& instances() {
    static const auto all = buildInstances();
    return all;
}

void writeInstances(std::ostream& os, const VELSmrPtr<IVelaClass>& cls, bool classOrigin) {
    for (const auto& obj : instances()) {
        CIMXMLUtil::streamValueNamedInstance(os, obj, nullptr, true, cls, classOrigin);
    }
}

// The whole output, made once per form (the harness calls each benchmark
// several times while it settles the iteration count).
const std::string& output(const VELSmrPtr<IVelaClass>& cls, bool classOrigin) {
    static std::string forms[2];
    std::string& text = forms[classOrigin ? 1 : 0];
    if (text.empty()) {
        std::ostringstream os;
        writeInstances(os, cls, classOrigin);
        text = std::move(os).str();
    }
    return text;
}

void namedInstances(benchmark::State& state, bool classOrigin) {
    VELSmrPtr<IVelaClass> cls =
        classOrigin ? tarn::ISchemaCatalog::installed()->getClass(kNameSpace, "TARN_Disk")
                    : nullptr;
    const std::size_t bytes = output(cls, classOrigin).size();
    FixedBuffer buf(bytes + 4096);
    std::ostream os(&buf);
    for (auto _ : state) {
        buf.rewind();
        writeInstances(os, cls, classOrigin);
        benchmark::DoNotOptimize(buf.data());
    }
    if (buf.size() != bytes || !os) {
        state.SkipWithError("output size changed between runs");
    }
    state.SetItemsProcessed(state.iterations() * kInstances);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["bytes_per_instance"] = static_cast<double>(bytes) / kInstances;
}

void BM_ValueNamedInstance(benchmark::State& state) {
    namedInstances(state, false);
}
BENCHMARK(BM_ValueNamedInstance)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_ValueNamedInstanceWithClassOrigin(benchmark::State& state) {
    namedInstances(state, true);
}
BENCHMARK(BM_ValueNamedInstanceWithClassOrigin)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// The bound: the same bytes, already made, copied into the same buffer.
void BM_CopyOfTheSameBytes(benchmark::State& state) {
    const std::string& bytes = output(nullptr, false);
    FixedBuffer buf(bytes.size() + 4096);
    for (auto _ : state) {
        std::memcpy(buf.raw(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(buf.raw());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kInstances);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_CopyOfTheSameBytes)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// ---- Classes ----

// A CIM-like schema: a chain of five abstract classes as in CIM_LogicalDevice,
// then 100 concrete classes that add 8 to 40 properties and 1 to 4 methods.
// Properties carry the qualifiers the DMTF schema gives them: long
// Descriptions (with quotes to escape), ValueMap/Values arrays, Units, MaxLen.
std::string description(int n) {
    std::string s = "The property \"P" + std::to_string(n) +
                    "\" describes one aspect of the managed element in the terms of the model; ";
    s += "it is set by the provider when the element's state changes, and clients may read it ";
    s += "at any time. Values outside the range defined by the ValueMap are 'reserved'.";
    return s;
}

std::vector<VELSmrPtr<IVelaClass>> buildClasses() {
    tarn::CClassSet set;
    const char* chain[] = {"CIM_ManagedElement", "CIM_ManagedSystemElement", "CIM_LogicalElement",
                           "CIM_EnabledLogicalElement", "CIM_LogicalDevice"};
    std::vector<std::string> values, valueMap;
    for (int v = 0; v < 12; ++v) {
        valueMap.push_back(std::to_string(v));
        values.push_back("State number " + std::to_string(v));
    }
    int counter = 0;
    auto addProperties = [&](const VELSmrPtr<CVelaClass>& cls, int count) {
        for (int p = 0; p < count; ++p, ++counter) {
            int kind = counter % 6;
            VELSmrPtr<IVelaType> type = kind == 0   ? CVelaType::string
                                        : kind == 1 ? CVelaType::uint16
                                        : kind == 2 ? CVelaType::get(CIMTypeId::UInt16, true)
                                        : kind == 3 ? CVelaType::uint64
                                        : kind == 4 ? CVelaType::datetime
                                                    : CVelaType::boolean;
            auto prop = makeVELSmrPtr<tarn::CPropertyDef>("Prop" + std::to_string(counter), type);
            prop->addQualifier(qualifier("Description",
                                         CVelaValue::makeString(description(counter)),
                                         QualifierFlavor::Translatable));
            if (kind == 1 || kind == 2) {
                prop->addQualifier(qualifier("ValueMap", stringArray(valueMap)));
                prop->addQualifier(
                    qualifier("Values", stringArray(values), QualifierFlavor::Translatable));
            } else if (kind == 3) {
                prop->addQualifier(qualifier("Units", CVelaValue::makeString("Bytes")));
            } else if (kind == 0) {
                prop->addQualifier(qualifier("MaxLen", CVelaValue::makeUint32(256)));
            }
            cls->addProperty(prop);
        }
    };
    auto addMethods = [&](const VELSmrPtr<CVelaClass>& cls, int count) {
        for (int m = 0; m < count; ++m, ++counter) {
            auto method = makeVELSmrPtr<tarn::CMethodDef>("Method" + std::to_string(counter),
                                                          CVelaType::uint32);
            method->addQualifier(qualifier("Description",
                                           CVelaValue::makeString(description(counter)),
                                           QualifierFlavor::Translatable));
            method->addQualifier(qualifier("ValueMap", stringArray(valueMap)));
            for (int a = 0; a < 3; ++a) {
                auto param = makeVELSmrPtr<tarn::CParameterDef>(
                    "Arg" + std::to_string(a),
                    a == 2 ? CVelaType::referenceTo("CIM_Job") : CVelaType::uint16);
                param->addQualifier(
                    qualifier(a == 2 ? "Out" : "In", CVelaValue::makeBoolean(true)));
                param->addQualifier(
                    qualifier("Description", CVelaValue::makeString("An argument of the method.")));
                method->addParameter(param);
            }
            cls->addMethod(method);
        }
    };
    std::string super;
    for (const char* name : chain) {
        auto cls = makeVELSmrPtr<CVelaClass>(name, super);
        cls->addQualifier(
            qualifier("Abstract", CVelaValue::makeBoolean(true), QualifierFlavor::Restricted));
        cls->addQualifier(
            qualifier("Version", CVelaValue::makeString("2.49.0"), QualifierFlavor::Translatable));
        cls->addQualifier(qualifier("Description", CVelaValue::makeString(description(counter)),
                                    QualifierFlavor::Translatable));
        addProperties(cls, 6);
        addMethods(cls, 1);
        set.addClass(kNameSpace, cls);
        super = name;
    }
    std::vector<VELSmrPtr<IVelaClass>> leaves;
    for (int c = 0; c < 100; ++c) {
        auto cls = makeVELSmrPtr<CVelaClass>("CIM_Device" + std::to_string(c), super);
        cls->addQualifier(
            qualifier("Version", CVelaValue::makeString("2.49.0"), QualifierFlavor::Translatable));
        cls->addQualifier(qualifier("Description", CVelaValue::makeString(description(counter)),
                                    QualifierFlavor::Translatable));
        addProperties(cls, 8 + (c * 7) % 33);
        addMethods(cls, 1 + c % 4);
        leaves.push_back(set.addClass(kNameSpace, cls));
    }
    return leaves;
}

void BM_LargestClassesWithQualifiers(benchmark::State& state) {
    const auto classes = buildClasses();
    std::ostringstream probe;
    for (const auto& cls : classes) {
        CIMXMLUtil::streamClass(probe, cls, nullptr, true, true, false);
    }
    const std::size_t bytes = probe.str().size();
    FixedBuffer buf(bytes + 4096);
    std::ostream os(&buf);
    for (auto _ : state) {
        buf.rewind();
        for (const auto& cls : classes) {
            CIMXMLUtil::streamClass(os, cls, nullptr, true, true, false);
        }
        benchmark::DoNotOptimize(buf.data());
    }
    if (buf.size() != bytes || !os) {
        state.SkipWithError("output size changed between runs");
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(classes.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["bytes_per_class"] = static_cast<double>(bytes) / classes.size();
}
BENCHMARK(BM_LargestClassesWithQualifiers)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
