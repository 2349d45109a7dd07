// Helpers of the repository tests: a repository in a temporary directory
// holding a small test schema, MOF loading, and builders of instances and
// instance names.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "HttpTestSupport.h"
#include "mof/MofCompiler.h"
#include "repository/Repository.h"
#include "repository/RepositoryMofSink.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace repotest {

namespace fs = std::filesystem;
using tarntest::TempDir;
using ::testing::HasSubstr;

inline const char* const kNs = "root/test";

// Three levels below an abstract root, a class with a property of every CIM
// type, a class with keys of several types, an association with reference
// keys and a class with a reference-qualified string key.
inline const char* const kSchema = R"(
#pragma namespace ("root/test")
Qualifier Abstract : boolean = false, Scope(class, association, indication), Flavor(EnableOverride, Restricted);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, ToSubclass, Translatable);
Qualifier EmbeddedInstance : string = null, Scope(property, method, parameter);
Qualifier EmbeddedObject : boolean = false, Scope(property, method, parameter), Flavor(DisableOverride, ToSubclass);
Qualifier TARN_ReferenceKey : boolean = false, Scope(property), Flavor(DisableOverride, ToSubclass);
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride, ToSubclass);

[Abstract, Description("root")] class T_Base { [Key] string Id; string Label = "none"; };
class T_Level1 : T_Base { uint32 Count; };
class T_Level2 : T_Level1 { boolean Flag = true; };
class T_Level3 : T_Level2 { real64 Ratio; uint32 Reset([In] uint16 Mode); };
class T_Other : T_Base { };
class T_AllTypes {
    [Key] string Id;
    boolean B; string S; char16 C; datetime D;
    uint8 U8; sint8 S8; uint16 U16; sint16 S16; uint32 U32; sint32 S32; uint64 U64; sint64 S64;
    real32 R32; real64 R64;
    uint8 A8[]; string AS[]; uint16 Fixed[3];
    [EmbeddedInstance("T_Level1")] string Emb;
    [EmbeddedObject] string Objs[];
};
class T_MultiKey { [Key] string Name; [Key] uint32 Number; [Key] boolean Flag; [Key] datetime When; string Note; };
[Association] class T_Link { [Key] T_Base REF Left; [Key] T_MultiKey REF Right; string Note; };
class T_RefKey { [Key, TARN_ReferenceKey] string Target; string Note; };
)";

// Compiles MOF text against the repository and writes it in one
// transaction; the compiler's messages on failure.
inline std::string loadMof(tarn::Repository& repo, const std::string& mof,
                           const std::string& defaultNameSpace = kNs,
                           tarn::RepositoryMofSink::Counts* counts = nullptr) {
    tarn::MofOptions options;
    options.defaultNameSpace = defaultNameSpace;
    tarn::MofCompiler compiler(options, repo.catalog().get());
    compiler.compileText(mof, "test.mof");
    tarn::RepositoryMofSink sink(repo);
    std::string out;
    if (!compiler.commit(sink)) {
        for (const auto& d : compiler.diagnostics()) {
            out += d.toString() + "\n";
        }
        return out.empty() ? "failed" : out;
    }
    if (counts) {
        *counts = sink.counts();
    }
    return out;
}

inline VELSmrPtr<IVelaValue> text(const char* s, const char* hint = "") {
    return CVelaValue::makeUntyped(s, hint);
}

// An instance of the class with the given properties.
inline VELSmrPtr<CVelaObject> instance(
    const char* cls, std::vector<std::pair<const char*, VELSmrPtr<IVelaValue>>> props) {
    auto obj = makeVELSmrPtr<CVelaObject>(cls);
    for (auto& [name, value] : props) {
        obj->addProperty(name, value);
    }
    return obj;
}

inline VELSmrPtr<CVelaInstanceName> name(
    const char* cls, std::vector<std::pair<const char*, VELSmrPtr<IVelaValue>>> keys) {
    auto n = makeVELSmrPtr<CVelaInstanceName>(cls);
    for (auto& [key, value] : keys) {
        n->addKeyBinding(key, value);
    }
    return n;
}

// The CIM status code an operation raises; 0 when it raises none.
inline int codeOf(const std::function<void()>& op, std::string* message = nullptr) {
    try {
        op();
    } catch (const VelaBaseException& e) {
        if (message) {
            *message = e.getMessage().str();
        }
        return e.getCode();
    }
    return 0;
}

// Runs SQL on the database file directly, outside the repository; with blob,
// ?1 is bound to it.
inline void sql(const std::string& path, const std::string& text,
                const std::string* blob = nullptr) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    sqlite3_stmt* st = nullptr;
    const char* rest = text.c_str();
    while (*rest) {
        ASSERT_EQ(sqlite3_prepare_v2(db, rest, -1, &st, &rest), SQLITE_OK) << sqlite3_errmsg(db);
        if (!st) {
            break;
        }
        if (blob) {
            sqlite3_bind_blob(st, 1, blob->data(), static_cast<int>(blob->size()), SQLITE_STATIC);
        }
        EXPECT_EQ(sqlite3_step(st), SQLITE_DONE) << sqlite3_errmsg(db);
        sqlite3_finalize(st);
    }
    sqlite3_close(db);
}

// The text of a property's value ("" when unset).
inline std::string valueText(const IVelaObject& obj, const char* property) {
    auto p = obj.getProperty(property);
    if (p.isNull()) {
        return "<no property>";
    }
    const auto& v = p->getValue();
    return v.isNull() || !v->isSet() ? std::string() : v->toString().str();
}

class RepositoryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        open();
        ASSERT_EQ(loadMof(*repo, kSchema), "");
    }
    void open() { repo = std::make_unique<tarn::Repository>(dbPath()); }
    void reopen() {
        repo.reset();
        open();
    }
    std::string dbPath() const { return (dir.path() / "repository.db").string(); }

    TempDir dir;
    std::unique_ptr<tarn::Repository> repo;
};

}  // namespace repotest
