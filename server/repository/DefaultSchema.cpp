#include "repository/DefaultSchema.h"

#include <unistd.h>

#include <climits>
#include <ctime>
#include <filesystem>

#include "mof/MofCompiler.h"
#include "repository/RepositoryMofSink.h"
#include "tarn/CIMStatus.h"
#include "vela/VelaBaseException.h"

namespace tarn {

const char* const DefaultSchema::ENTRY_FILE = "tarn.mof";
const char* const DefaultSchema::INFO_NAME = "default_schema";
const char* const DefaultSchema::QUALIFIERS_FILE = "qualifiers.mof";

namespace {

// The first errors of a failed compilation, for a message.
VELString firstErrors(const MofCompiler& compiler) {
    VELString message;
    std::size_t shown = 0;
    for (const auto& d : compiler.diagnostics()) {
        if (!d.isError()) {
            continue;
        }
        if (++shown > 5) {
            message += " ...";
            break;
        }
        message += " " + d.toString() + ";";
    }
    return message;
}

}  // namespace

VELString DefaultSchema::locate(const VELString& configured) {
    if (!configured.isNull()) {
        return configured;
    }
    char exe[PATH_MAX] = {};
    ssize_t n = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n > 0) {
        std::filesystem::path installed =
            std::filesystem::path(std::string(exe, static_cast<std::size_t>(n))).parent_path() /
            ".." / "share" / "tarn" / "schema";
        std::error_code ec;
        if (std::filesystem::exists(installed / ENTRY_FILE, ec)) {
            return VELString(installed.lexically_normal().string());
        }
    }
    return TARN_SCHEMA_DIR;
}

bool DefaultSchema::ensure(Repository& repository, const VELString& schemaDir) {
    if (!repository.getInfo(INFO_NAME).isNull()) {
        return false;
    }
    std::filesystem::path entry = std::filesystem::path(schemaDir.str()) / ENTRY_FILE;
    MofOptions options;
    options.defaultNameSpace = "root/cimv2";
    MofCompiler compiler(options, repository.catalog().get());
    compiler.compileFile(entry.string());
    RepositoryMofSink sink(repository);
    char when[32] = {};
    std::time_t now = std::time(nullptr);
    std::tm tm{};
    ::gmtime_r(&now, &tm);
    std::strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%SZ", &tm);
    sink.setInfoOnCommit(INFO_NAME, VELString(when) + " from " + schemaDir);
    if (!compiler.commit(sink)) {
        throw VelaBaseException("Repository", "tarn::DefaultSchema", "ensure",
                                "the schema " + VELString(entry.string()) +
                                    " cannot be loaded:" + firstErrors(compiler),
                                CIM_ERR_FAILED);
    }
    return true;
}

void DefaultSchema::createNameSpace(Repository& repository, const VELString& schemaDir,
                                    const VELString& nameSpace) {
    std::filesystem::path file = std::filesystem::path(schemaDir.str()) / QUALIFIERS_FILE;
    MofOptions options;
    options.defaultNameSpace = nameSpace.str();
    MofCompiler compiler(options);
    compiler.compileFile(file.string());
    if (!compiler.finish()) {
        throw VelaBaseException("Repository", "tarn::DefaultSchema", "createNameSpace",
                                "the qualifier declarations " + VELString(file.string()) +
                                    " cannot be loaded:" + firstErrors(compiler),
                                CIM_ERR_FAILED);
    }
    RepositoryTransaction t = repository.beginTransaction();
    t.createNameSpace(nameSpace);
    for (const auto& result : compiler.result()) {
        for (const auto& decl : result.qualifiers) {
            t.addQualifierDecl(nameSpace, decl);
        }
    }
    t.commit();
}

}  // namespace tarn
