// Acceptance: the DMTF CIM Schema 2.49 compiles without a single error or
// warning, and the class set it produces answers superclass chains, property
// origins and keys for every class. The schema is unzipped from the shared
// data directory into a temporary directory for the run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>

#include "mof/MofClassSetSink.h"
#include "mof/MofCompiler.h"

namespace {

namespace fs = std::filesystem;

const char* const kNs = "root/cimv2";

template <class T>
std::vector<T> all(VELSmrPtr<tarn::Iterator<T>> it) {
    std::vector<T> out;
    while (it->hasNext()) {
        out.push_back(it->next());
    }
    return out;
}

class DmtfSchema : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        fs::path zip = fs::path(TARN_TEST_DATA_DIR) / "cim_schema_2.49.0Final-MOFs.zip";
        ASSERT_TRUE(fs::exists(zip)) << zip;
        std::string tmpl = (fs::temp_directory_path() / "tarn-mof-XXXXXX").string();
        ASSERT_NE(::mkdtemp(tmpl.data()), nullptr);
        dir = new fs::path(tmpl);
        std::string cmd = "unzip -q -o '" + zip.string() + "' -d '" + dir->string() + "'";
        ASSERT_EQ(std::system(cmd.c_str()), 0) << cmd;
        sink = new tarn::MofClassSetSink();
        compiler = new tarn::MofCompiler();
        compiler->compileFile((*dir / "cim_schema_2.49.0.mof").string());
        committed = compiler->commit(*sink);
    }
    static void TearDownTestSuite() {
        if (dir) {
            std::error_code ec;
            fs::remove_all(*dir, ec);
        }
        delete compiler;
        delete sink;
        delete dir;
        compiler = nullptr;
        sink = nullptr;
        dir = nullptr;
    }
    void SetUp() override { ASSERT_NE(sink, nullptr); }

    static VELSmrPtr<IVelaClass> cls(const char* name) {
        return sink->classSet()->getClass(kNs, name);
    }
    static std::vector<std::string> chain(const char* name) {
        std::vector<std::string> out;
        for (auto c = cls(name); !c.isNull(); c = c->getSuperClass()) {
            out.push_back(c->getName().str());
        }
        return out;
    }

    static fs::path* dir;
    static tarn::MofClassSetSink* sink;
    static tarn::MofCompiler* compiler;
    static bool committed;
};

fs::path* DmtfSchema::dir = nullptr;
tarn::MofClassSetSink* DmtfSchema::sink = nullptr;
tarn::MofCompiler* DmtfSchema::compiler = nullptr;
bool DmtfSchema::committed = false;

TEST_F(DmtfSchema, CompilesWithoutErrorsOrWarnings) {
    std::string text;
    for (const auto& d : compiler->diagnostics()) {
        text += d.toString() + "\n";
    }
    EXPECT_TRUE(committed) << text;
    EXPECT_EQ(text, "");
    auto s = compiler->summary();
    EXPECT_EQ(s.files, 1634u);
    EXPECT_EQ(s.qualifiers, 70u);
    EXPECT_EQ(s.classes, 1631u);
    EXPECT_EQ(s.instances, 0u);
    EXPECT_EQ(sink->classSet()->classCount(), 1631u);
    EXPECT_EQ(sink->classSet()->getQualifierDefs(kNs).size(), 70u);
}

TEST_F(DmtfSchema, EveryClassAnswersItsChainOriginsAndKeys) {
    auto classes = sink->classSet()->getSubclasses(kNs, "", true);
    ASSERT_EQ(classes.size(), 1631u);
    std::set<std::string> seen;
    std::size_t roots = 0;
    std::size_t associations = 0;
    std::size_t withKeys = 0;
    for (const auto& c : classes) {
        const std::string name = c->getName().str();
        // Superclasses come first, and the chain ends at a root.
        std::set<std::string> ancestors;
        auto super = c->getSuperClass();
        EXPECT_EQ(super.isNull(), c->getSuperClassName().isNull()) << name;
        if (super.isNull()) {
            ++roots;
        } else {
            EXPECT_TRUE(seen.count(super->getName().str())) << name << " before its superclass";
            EXPECT_EQ(super->getName(), c->getSuperClassName()) << name;
            EXPECT_EQ(sink->classSet()->getClass(kNs, super->getName()).get(), super.get()) << name;
        }
        std::size_t depth = 0;
        for (auto a = c; !a.isNull(); a = a->getSuperClass()) {
            ancestors.insert(a->getName().str());
            ASSERT_LT(++depth, 32u) << name;
        }
        seen.insert(name);
        if (!super.isNull() && super->isAssociation()) {
            EXPECT_TRUE(c->isAssociation()) << name;
        }
        associations += c->isAssociation();

        // Each property comes from the class itself or from an ancestor that
        // defines it; an inherited one has the superclass's origin.
        auto own = all(c->getOwnPropertyNames());
        std::set<std::string> ownNames;
        for (const auto& n : own) {
            ownNames.insert(n.toLower().str());
        }
        std::vector<VELString> keys;
        for (const auto& p : all(c->getPropertyDefs(true))) {
            const std::string origin = p->getOriginClassName().str();
            EXPECT_TRUE(ancestors.count(origin)) << name << "." << p->getName();
            auto originClass = sink->classSet()->getClass(kNs, origin);
            ASSERT_FALSE(originClass.isNull()) << origin;
            bool declared = false;
            for (const auto& n : all(originClass->getOwnPropertyNames())) {
                declared = declared || n.equalsIgnoreCase(p->getName());
            }
            EXPECT_TRUE(declared) << name << "." << p->getName() << " from " << origin;
            if (origin == name) {
                EXPECT_TRUE(ownNames.count(p->getName().toLower().str())) << name;
            } else {
                ASSERT_FALSE(super.isNull()) << name;
                auto inherited = super->getPropertyDef(p->getName());
                ASSERT_FALSE(inherited.isNull()) << name << "." << p->getName();
                EXPECT_EQ(inherited->getOriginClassName(), p->getOriginClassName());
            }
            auto key = p->getQualifier("Key");
            bool keyQualified = !key.isNull() && key->getValue()->getBoolean();
            EXPECT_EQ(p->isKey(), keyQualified) << name << "." << p->getName();
            if (p->isKey()) {
                keys.push_back(p->getName());
            }
        }
        EXPECT_EQ(c->getKeyNames(), keys) << name;
        withKeys += !keys.empty();
        for (const auto& m : all(c->getMethodDefs(true))) {
            EXPECT_TRUE(ancestors.count(m->getOriginClassName().str()))
                << name << "." << m->getName();
        }
    }
    EXPECT_EQ(roots, 111u);
    EXPECT_GT(associations, 600u);
    EXPECT_GT(withKeys, 1000u);
}

TEST_F(DmtfSchema, ManagedElement) {
    auto me = cls("cim_managedelement");
    ASSERT_FALSE(me.isNull());
    EXPECT_EQ(me->getName(), VELString("CIM_ManagedElement"));
    EXPECT_TRUE(me->getSuperClassName().isNull());
    EXPECT_TRUE(me->isAbstract());
    EXPECT_FALSE(me->isAssociation());
    std::vector<std::string> props;
    for (const auto& p : all(me->getPropertyDefs(true))) {
        props.push_back(p->getName().str());
        EXPECT_EQ(p->getOriginClassName(), VELString("CIM_ManagedElement"));
    }
    EXPECT_EQ(props, (std::vector<std::string>{"InstanceID", "Caption", "Description",
                                               "ElementName", "Generation"}));
    EXPECT_TRUE(me->getKeyNames().empty());
    EXPECT_EQ(me->getPropertyDef("Caption")->getQualifier("MaxLen")->getValue()->getUnsigned(),
              64u);
    EXPECT_EQ(me->getPropertyDef("Generation")->getType()->getName(), VELString("uint64"));
    EXPECT_EQ(me->getQualifier("Version")->getValue()->getString(), VELString("2.45.0"));
    EXPECT_TRUE(
        me->getQualifier("Description")
            ->getValue()
            ->getString()
            .beginsWith("ManagedElement is an abstract class that provides a common superclass"));
    // Abstract and Version are Restricted: subclasses do not inherit them.
    auto mse = cls("CIM_ManagedSystemElement");
    EXPECT_TRUE(mse->getQualifier("Abstract").isNull() ||
                mse->getQualifier("Abstract")->getDefiningClassName() ==
                    "CIM_ManagedSystemElement");
    EXPECT_TRUE(cls("CIM_ComputerSystem")->getQualifier("Abstract").isNull());
    EXPECT_EQ(cls("CIM_ComputerSystem")->getQualifier("Version")->getDefiningClassName(),
              VELString("CIM_ComputerSystem"));
    // Description propagates, and each class's own replaces it.
    EXPECT_EQ(cls("CIM_ComputerSystem")->getQualifier("Description")->getDefiningClassName(),
              VELString("CIM_ComputerSystem"));
}

TEST_F(DmtfSchema, ComputerSystem) {
    auto cs = cls("CIM_ComputerSystem");
    ASSERT_FALSE(cs.isNull());
    EXPECT_EQ(
        chain("CIM_ComputerSystem"),
        (std::vector<std::string>{"CIM_ComputerSystem", "CIM_System", "CIM_AllocatedLogicalElement",
                                  "CIM_EnabledLogicalElement", "CIM_LogicalElement",
                                  "CIM_ManagedSystemElement", "CIM_ManagedElement"}));
    EXPECT_EQ(cs->getKeyNames(), (std::vector<VELString>{"Name", "CreationClassName"}));
    struct Origin {
        const char* property;
        const char* origin;
    };
    const Origin origins[] = {
        {"InstanceID", "CIM_ManagedElement"},        {"ElementName", "CIM_ManagedElement"},
        {"InstallDate", "CIM_ManagedSystemElement"}, {"Name", "CIM_System"},
        {"CreationClassName", "CIM_System"},         {"EnabledState", "CIM_EnabledLogicalElement"},
        {"NameFormat", "CIM_ComputerSystem"},        {"Dedicated", "CIM_ComputerSystem"},
    };
    for (const auto& o : origins) {
        auto p = cs->getPropertyDef(o.property);
        ASSERT_FALSE(p.isNull()) << o.property;
        EXPECT_EQ(p->getOriginClassName(), VELString(o.origin)) << o.property;
    }
    EXPECT_TRUE(cs->getPropertyDef("Name")->isKey());
    EXPECT_FALSE(cs->getPropertyDef("NameFormat")->isKey());
    EXPECT_TRUE(cs->getPropertyDef("Dedicated")->getType()->isArray());
    EXPECT_EQ(cs->getPropertyDef("EnabledState")->getDefaultValue()->getUnsigned(), 5u);
    EXPECT_EQ(cs->getMethodDef("SetPowerState")->getOriginClassName(),
              VELString("CIM_ComputerSystem"));
    EXPECT_EQ(cs->getMethodDef("RequestStateChange")->getOriginClassName(),
              VELString("CIM_EnabledLogicalElement"));
    auto params = all(cs->getMethodDef("RequestStateChange")->getParameters());
    ASSERT_FALSE(params.empty());
    EXPECT_EQ(params[0]->getName(), VELString("RequestedState"));
    EXPECT_FALSE(params[0]->getQualifier("In").isNull());
    EXPECT_TRUE(cs->isA("CIM_ManagedElement"));
    EXPECT_FALSE(cs->isAbstract());
}

TEST_F(DmtfSchema, IndicationSubscription) {
    auto sub = cls("CIM_IndicationSubscription");
    ASSERT_FALSE(sub.isNull());
    EXPECT_EQ(chain("CIM_IndicationSubscription"),
              (std::vector<std::string>{"CIM_IndicationSubscription",
                                        "CIM_AbstractIndicationSubscription"}));
    EXPECT_TRUE(sub->isAssociation());
    EXPECT_FALSE(sub->isIndication());
    EXPECT_EQ(sub->getKeyNames(), (std::vector<VELString>{"Filter", "Handler"}));
    auto filter = sub->getPropertyDef("Filter");
    EXPECT_TRUE(filter->getType()->isReference());
    EXPECT_EQ(filter->getType()->getReferenceClassName(), VELString("CIM_IndicationFilter"));
    EXPECT_EQ(filter->getOriginClassName(), VELString("CIM_IndicationSubscription"));
    EXPECT_EQ(sub->getPropertyDef("Handler")->getType()->getReferenceClassName(),
              VELString("CIM_ListenerDestination"));
    // The abstract superclass refers to the wider class.
    EXPECT_EQ(cls("CIM_AbstractIndicationSubscription")
                  ->getPropertyDef("Filter")
                  ->getType()
                  ->getReferenceClassName(),
              VELString("CIM_ManagedElement"));
    EXPECT_EQ(sub->getPropertyDef("OnFatalErrorPolicy")->getOriginClassName(),
              VELString("CIM_AbstractIndicationSubscription"));
    EXPECT_EQ(sub->getQualifier("Version")->getValue()->getString(), VELString("2.16.0"));
    EXPECT_TRUE(cls("CIM_Indication")->isIndication());
    EXPECT_TRUE(cls("CIM_InstModification")->isIndication());
    EXPECT_TRUE(cls("CIM_InstModification")->isA("CIM_Indication"));
}

}  // namespace
