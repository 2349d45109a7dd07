#include "mof/MofCompiler.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

namespace fs = std::filesystem;

// Reads a regular file of at most limit bytes (devices and directories are
// refused, so that an include cannot read forever).
MofOptions::ReadStatus readFromDisk(const std::string& path, std::size_t limit,
                                    std::string& content, std::string& why) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return MofOptions::ReadStatus::NotFound;
        }
        why = std::strerror(errno);
        return MofOptions::ReadStatus::Failed;
    }
    if (!S_ISREG(st.st_mode)) {
        why = "not a regular file";
        return MofOptions::ReadStatus::Failed;
    }
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!f) {
        why = std::strerror(errno);
        return MofOptions::ReadStatus::Failed;
    }
    content.clear();
    if (st.st_size > 0 && static_cast<std::uint64_t>(st.st_size) <= limit) {
        content.reserve(static_cast<std::size_t>(st.st_size));
    }
    char buf[65536];
    for (;;) {
        std::size_t n = std::fread(buf, 1, sizeof buf, f.get());
        if (n == 0) {
            break;
        }
        if (content.size() + n > limit) {
            why = "larger than " + std::to_string(limit) + " bytes";
            return MofOptions::ReadStatus::Failed;
        }
        content.append(buf, n);
    }
    if (std::ferror(f.get())) {
        why = std::strerror(errno);
        return MofOptions::ReadStatus::Failed;
    }
    return MofOptions::ReadStatus::Ok;
}

std::string identityOf(const std::string& path) {
    std::error_code ec;
    fs::path p = fs::weakly_canonical(fs::path(path), ec);
    if (ec) {
        return fs::path(path).lexically_normal().string();
    }
    return p.string();
}

std::string trimSlashes(const std::string& s) {
    std::size_t b = 0;
    std::size_t e = s.size();
    while (b < e && (s[b] == '/' || s[b] == ' ')) {
        ++b;
    }
    while (e > b && (s[e - 1] == '/' || s[e - 1] == ' ')) {
        --e;
    }
    return s.substr(b, e - b);
}

}  // namespace

MofCompiler::MofCompiler(MofOptions options, const ISchemaCatalog* context)
    : _options(std::move(options)),
      _context(context),
      _diag(_options.limits.maxErrors, _options.onDiagnostic) {
    if (!_options.readFile) {
        _options.readFile = readFromDisk;
    }
    _nameSpaces.push_back(trimSlashes(_options.defaultNameSpace));
    _named.push_back(false);
}

MofCompiler::~MofCompiler() = default;

bool MofCompiler::compileFile(const std::string& path) {
    if (_finished || _stopped) {
        return false;
    }
    std::string content;
    std::string why;
    auto status = _options.readFile(path, _options.limits.maxFileBytes, content, why);
    if (status != MofOptions::ReadStatus::Ok) {
        try {
            _diag.error("cannot read " + path + ": " +
                        (status == MofOptions::ReadStatus::NotFound ? "no such file" : why));
        } catch (const MofDiagnostics::Stop&) {
            _stopped = true;
        }
        return false;
    }
    return compileText(content, path);
}

bool MofCompiler::compileText(std::string_view text, const std::string& name) {
    if (_finished || _stopped) {
        return false;
    }
    try {
        if (_bytes + text.size() > _options.limits.maxTotalBytes) {
            _diag.error("cannot read " + name + ": the compilation would read more than " +
                        std::to_string(_options.limits.maxTotalBytes) + " bytes");
            return false;
        }
        std::uint32_t file = _diag.addFile(name);
        _stack.push_back(Open{name, identityOf(name)});
        parseText(text, file, name);
        _stack.pop_back();
    } catch (const MofDiagnostics::Stop&) {
        _stopped = true;
        _stack.clear();
    }
    return _diag.errorCount() == 0;
}

void MofCompiler::parseText(std::string_view text, std::uint32_t file, const std::string&) {
    ++_files;
    _bytes += text.size();
    MofLexer lexer(text, file, _options.limits.maxLiteralBytes, _options.limits.maxIdentifierBytes);
    MofParser parser(lexer, _diag, _tree, *this, _options.limits);
    parser.parse();
    reportProgress();
}

void MofCompiler::reportProgress() {
    if (!_options.onProgress) {
        return;
    }
    MofProgress p;
    p.stage = MofProgress::Stage::Reading;
    p.files = _files;
    p.bytes = _bytes;
    p.qualifiers = _tree.qualifierDecls.size();
    p.classes = _tree.classes.size();
    p.instances = _tree.instances.size();
    _options.onProgress(p);
}

std::uint32_t MofCompiler::nameSpaceIndex(const std::string& name) {
    for (std::size_t i = 0; i < _nameSpaces.size(); ++i) {
        if (VELString(_nameSpaces[i]).equalsIgnoreCase(name)) {
            return static_cast<std::uint32_t>(i);
        }
    }
    _nameSpaces.push_back(name);
    _named.push_back(false);
    return static_cast<std::uint32_t>(_nameSpaces.size() - 1);
}

void MofCompiler::pragma(const std::string& name, const MofPos& namePos,
                         const std::vector<std::string>& args, const MofPos& argPos) {
    VELString n(name);
    auto oneArgument = [&](const char* what) {
        if (args.size() != 1) {
            _diag.error(argPos, "#pragma " + name + " takes one string: " + what);
            return false;
        }
        return true;
    };
    if (n.equalsIgnoreCase("include")) {
        if (oneArgument("the file to include")) {
            include(args[0], argPos);
        }
    } else if (n.equalsIgnoreCase("namespace")) {
        if (oneArgument("the namespace")) {
            std::string ns = trimSlashes(args[0]);
            if (ns.empty()) {
                _diag.error(argPos, "#pragma namespace names no namespace");
                return;
            }
            _currentNameSpace = nameSpaceIndex(ns);
            _named[_currentNameSpace] = true;
        }
    } else if (n.equalsIgnoreCase("locale") || n.equalsIgnoreCase("instancelocale")) {
        // Qualifier values are kept as written; the locale changes nothing.
        oneArgument("the locale");
    } else if (n.equalsIgnoreCase("source") || n.equalsIgnoreCase("sourcetype") ||
               n.equalsIgnoreCase("nonlocal") || n.equalsIgnoreCase("nonlocaltype")) {
        _diag.warning(namePos, "#pragma " + name + " is not supported; ignored");
    } else {
        _diag.warning(namePos, "unknown #pragma " + name + "; ignored");
    }
}

void MofCompiler::include(const std::string& name, const MofPos& pos) {
    if (_stack.size() >= _options.limits.maxIncludeDepth) {
        _diag.error(pos, "includes nested more than " +
                             std::to_string(_options.limits.maxIncludeDepth) + " deep");
        return;
    }
    if (name.empty()) {
        _diag.error(pos, "#pragma include names no file");
        return;
    }
    std::vector<std::string> candidates;
    fs::path p(name);
    if (p.is_absolute()) {
        candidates.push_back(name);
    } else {
        fs::path dir = fs::path(_stack.empty() ? std::string() : _stack.back().name).parent_path();
        candidates.push_back((dir / p).lexically_normal().string());
        for (const auto& d : _options.includeDirs) {
            candidates.push_back((fs::path(d) / p).lexically_normal().string());
        }
    }
    std::string content;
    std::string found;
    for (const auto& c : candidates) {
        std::string why;
        auto status = _options.readFile(c, _options.limits.maxFileBytes, content, why);
        if (status == MofOptions::ReadStatus::Ok) {
            found = c;
            break;
        }
        if (status == MofOptions::ReadStatus::Failed) {
            _diag.error(pos, "cannot read include file " + c + ": " + why);
            return;
        }
    }
    if (found.empty()) {
        std::string searched;
        for (const auto& c : candidates) {
            searched += (searched.empty() ? "" : ", ") + c;
        }
        _diag.error(pos, "include file " + name + " not found (looked for " + searched + ")");
        return;
    }
    std::string identity = identityOf(found);
    for (std::size_t i = 0; i < _stack.size(); ++i) {
        if (_stack[i].identity == identity) {
            std::string cycle;
            for (std::size_t j = i; j < _stack.size(); ++j) {
                cycle += _stack[j].name + " -> ";
            }
            _diag.error(pos, "include cycle: " + cycle + found);
            return;
        }
    }
    if (_bytes + content.size() > _options.limits.maxTotalBytes) {
        _diag.error(pos, "cannot include " + found + ": the compilation would read more than " +
                             std::to_string(_options.limits.maxTotalBytes) + " bytes");
        return;
    }
    std::uint32_t file = _diag.addFile(found);
    _stack.push_back(Open{found, identity});
    parseText(content, file, found);
    _stack.pop_back();
}

bool MofCompiler::finish() {
    if (_finished) {
        return _diag.errorCount() == 0;
    }
    _finished = true;
    auto progress = _options.onProgress;
    std::size_t files = _files;
    std::size_t bytes = _bytes;
    _builder = std::make_unique<MofSchemaBuilder>(_diag, _context, _options.limits,
                                                  [progress, files, bytes](const MofProgress& p) {
                                                      if (progress) {
                                                          MofProgress q = p;
                                                          q.files = files;
                                                          q.bytes = bytes;
                                                          progress(q);
                                                      }
                                                  });
    if (!_stopped) {
        try {
            try {
                _builder->build(_tree, _nameSpaces, _named);
            } catch (const VelaBaseException& e) {
                _diag.error("unexpected failure: " + e.getMessage().str());
            }
        } catch (const MofDiagnostics::Stop&) {
            _stopped = true;
        }
    }
    // The syntax tree is no longer needed; its literals have been consumed.
    _tree = MofSyntaxTree();
    return _diag.errorCount() == 0;
}

bool MofCompiler::commit(IMofSink& sink) {
    if (!finish()) {
        return false;
    }
    std::string failure;
    try {
        sink.begin();
        for (const auto& ns : _builder->result()) {
            if (!ns.named && ns.qualifiers.empty() && ns.classes.empty() && ns.instances.empty()) {
                continue;
            }
            sink.nameSpace(ns.name);
            for (const auto& q : ns.qualifiers) {
                sink.qualifierDecl(q);
            }
            for (const auto& c : ns.classes) {
                sink.classDecl(c);
            }
            for (const auto& i : ns.instances) {
                sink.instance(i);
            }
        }
        sink.commit();
        return true;
    } catch (const VelaBaseException& e) {
        failure = e.getMessage().str();
    } catch (const std::exception& e) {
        failure = e.what();
    }
    sink.abort();
    try {
        _diag.error("writing the result failed, nothing was written: " + failure);
    } catch (const MofDiagnostics::Stop&) {
        _stopped = true;
    }
    return false;
}

MofCompiler::Summary MofCompiler::summary() const {
    Summary s;
    s.files = _files;
    s.bytes = _bytes;
    if (_builder) {
        s.qualifiers = _builder->qualifierCount();
        s.classes = _builder->classCount();
        s.instances = _builder->instanceCount();
    }
    s.errors = _diag.errorCount();
    s.warnings = _diag.warningCount();
    return s;
}

const std::vector<MofSchemaBuilder::NameSpaceResult>& MofCompiler::result() const {
    static const std::vector<MofSchemaBuilder::NameSpaceResult> none;
    return _builder ? _builder->result() : none;
}

}  // namespace tarn
