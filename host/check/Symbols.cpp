#include "host/check/Symbols.h"

#include <cxxabi.h>
#include <dwarf.h>
#include <link.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>

#include "host/check/Findings.h"

namespace zelkcam::host::check {
namespace {

struct EndSession {
    void operator()(Dwfl* session) const { dwfl_end(session); }
};
struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
using Session = std::unique_ptr<Dwfl, EndSession>;

Session openSession() {
    static const Dwfl_Callbacks kCallbacks = {dwfl_linux_proc_find_elf,
                                              dwfl_standard_find_debuginfo, nullptr, nullptr};
    Session session(dwfl_begin(&kCallbacks));
    if (session == nullptr || dwfl_linux_proc_report(session.get(), getpid()) != 0 ||
        dwfl_report_end(session.get(), nullptr, nullptr) != 0) {
        return nullptr;
    }
    return session;
}

std::string text(const char* chars) {
    return chars != nullptr ? chars : "";
}

// "a::b" of "a::b(int) const": parameters distinguish overloads, and make lines hard to read.
std::string withoutParameters(std::string name) {
    name.erase(std::min(name.find(" [clone "), name.size()));
    const size_t close = name.rfind(')');
    if (close == std::string::npos || name.find("::", close) != std::string::npos) {
        return name;
    }
    int depth = 0;
    for (size_t i = close + 1; i-- > 0;) {
        depth += name[i] == ')' ? 1 : name[i] == '(' ? -1 : 0;
        if (depth == 0) {
            const bool isName = i == 0 || name.compare(i, 11, "(anonymous ") == 0;
            return isName ? name : name.substr(0, i);
        }
    }
    return name;
}

// Long lists of template arguments make a name unreadable.
std::string withoutLongArguments(const std::string& name) {
    constexpr size_t kReadable = 60;
    std::string shortened;
    int depth = 0;
    for (const char letter : name.size() > kReadable ? name : std::string()) {
        depth -= letter == '>' && depth > 0 ? 1 : 0;
        if (depth == 0) {
            shortened += letter;
        }
        depth += letter == '<' ? 1 : 0;
    }
    return depth == 0 && !shortened.empty() ? shortened : name;
}

std::string readable(const char* symbol) {
    int status = 0;
    const std::unique_ptr<char, Free> name(
            symbol != nullptr ? abi::__cxa_demangle(symbol, nullptr, nullptr, &status) : nullptr);
    return withoutLongArguments(withoutParameters(name != nullptr ? name.get() : text(symbol)));
}

std::string nameOf(Dwarf_Die* function, const char* symbol);

// What a function that is inlined, or defined outside its class, was declared as.
Dwarf_Die declarationOf(Dwarf_Die function) {
    for (const unsigned link : {DW_AT_abstract_origin, DW_AT_specification}) {
        Dwarf_Attribute attribute;
        Dwarf_Die declared;
        if (dwarf_formref_die(dwarf_attr(&function, link, &attribute), &declared) != nullptr) {
            function = declared;
        }
    }
    return function;
}

// Some scopes have no name of their own.
std::string nameOfScope(Dwarf_Die* scope) {
    const char* const name = dwarf_diename(scope);
    return name != nullptr                        ? name
           : dwarf_tag(scope) == DW_TAG_namespace ? "(anonymous namespace)"
                                                  : "{lambda}";
}

// A lambda is told apart by the function that it is in.
std::string nameInItsScopes(Dwarf_Die* function) {
    Dwarf_Die declared = declarationOf(*function);
    Dwarf_Die* scopes = nullptr;
    const int count = dwarf_getscopes_die(&declared, &scopes);
    const std::unique_ptr<Dwarf_Die, Free> owner(count > 0 ? scopes : nullptr);
    std::string name = text(dwarf_diename(&declared));
    for (int i = 1; i < count; ++i) {
        const int tag = dwarf_tag(scopes + i);
        if (tag == DW_TAG_subprogram) {
            return nameOf(scopes + i, nullptr) + "::" + name;
        }
        if (tag == DW_TAG_class_type || tag == DW_TAG_structure_type || tag == DW_TAG_namespace) {
            name = nameOfScope(scopes + i) + "::" + name;
        }
    }
    return name;
}

// With little debug information only the symbol table knows the qualified name; inlined functions
// are not in it.
std::string nameOf(Dwarf_Die* function, const char* symbol) {
    Dwarf_Attribute attribute;
    const char* const linkage =
            dwarf_formstring(dwarf_attr_integrate(function, DW_AT_linkage_name, &attribute));
    if (linkage != nullptr || (symbol != nullptr && dwarf_tag(function) == DW_TAG_subprogram)) {
        return readable(linkage != nullptr ? linkage : symbol);
    }
    return nameInItsScopes(function);
}

// Where the inlined function was called.
void moveToCall(Dwarf_Die* unit, Dwarf_Die* inlined, Frame* frame) {
    Dwarf_Attribute attribute;
    Dwarf_Word file = 0;
    Dwarf_Word line = 0;
    Dwarf_Files* files = nullptr;
    size_t count = 0;
    dwarf_formudata(dwarf_attr(inlined, DW_AT_call_file, &attribute), &file);
    dwarf_formudata(dwarf_attr(inlined, DW_AT_call_line, &attribute), &line);
    if (dwarf_getsrcfiles(unit, &files, &count) == 0 && file < count) {
        frame->file = text(dwarf_filesrc(files, file, nullptr, nullptr));
    }
    frame->line = static_cast<int>(line);
}

// The scopes around `address`, innermost first, as they are nested in the code and not in the
// sources: an inlined function is inside its caller.
struct Scopes {
    std::unique_ptr<Dwarf_Die, Free> dies;
    int count = 0;
};

Scopes scopesAround(Dwarf_Die* unit, Dwarf_Addr address) {
    Dwarf_Die* dies = nullptr;
    if (dwarf_getscopes(unit, address, &dies) <= 0) {
        return {};
    }
    const std::unique_ptr<Dwarf_Die, Free> innermost(dies);
    Scopes scopes;
    scopes.count = std::max(0, dwarf_getscopes_die(innermost.get(), &dies));
    scopes.dies.reset(scopes.count > 0 ? dies : nullptr);
    return scopes;
}

// The compilation that `address` is in, or null. Not every compiler writes the index that answers
// this at once.
Dwarf_Die* unitAround(Dwfl_Module* module, Dwarf_Addr address, Dwarf_Addr* bias) {
    Dwarf_Die* unit = dwfl_module_addrdie(module, address, bias);
    if (unit != nullptr) {
        return unit;
    }
    do {
        unit = dwfl_module_nextcu(module, unit, bias);
    } while (unit != nullptr && dwarf_haspc(unit, address - *bias) <= 0);
    return unit;
}

void moveToLine(Dwarf_Die* unit, Dwarf_Addr address, Frame* frame) {
    Dwarf_Line* const line = dwarf_getsrc_die(unit, address);
    if (line != nullptr) {
        frame->file = text(dwarf_linesrc(line, nullptr, nullptr));
        dwarf_lineno(line, &frame->line);
    }
}

// Adds a frame for every function, inlined or not, that `address` is in.
bool addFunctions(Dwfl_Module* module, Dwarf_Addr address, Frame frame, std::vector<Frame>* out) {
    Dwarf_Addr bias = 0;
    Dwarf_Die* const unit = unitAround(module, address, &bias);
    if (unit == nullptr) {
        return false;
    }
    moveToLine(unit, address - bias, &frame);
    const Scopes scopes = scopesAround(unit, address - bias);
    for (int i = 0; i < scopes.count; ++i) {
        Dwarf_Die* const scope = scopes.dies.get() + i;
        const int tag = dwarf_tag(scope);
        if (tag == DW_TAG_inlined_subroutine || tag == DW_TAG_subprogram) {
            frame.function = nameOf(scope, dwfl_module_addrname(module, address));
            out->push_back(frame);
            moveToCall(unit, scope, &frame);
        }
        if (tag == DW_TAG_subprogram) {
            return true;
        }
    }
    return false;
}

std::string placeIn(const std::string& module, Dwarf_Addr offset) {
    char place[32];
    static_cast<void>(std::snprintf(place, sizeof(place), "+0x%llx",
                                    static_cast<unsigned long long>(offset)));
    return module.substr(module.rfind('/') + 1) + place;
}

void addFrames(Dwfl* session, Dwarf_Addr address, std::vector<Frame>* out) {
    Dwfl_Module* const module = dwfl_addrmodule(session, address);
    if (module == nullptr) {
        out->push_back({placeIn("", address), "", 0, ""});
        return;
    }
    Frame frame;
    Dwarf_Addr start = 0;
    const char* file = nullptr;
    const char* name =
            dwfl_module_info(module, nullptr, &start, nullptr, nullptr, nullptr, &file, nullptr);
    frame.module = text(file != nullptr ? file : name);
    if (addFunctions(module, address, frame, out)) {
        return;
    }
    const char* const symbol = dwfl_module_addrname(module, address);
    frame.function = symbol != nullptr ? readable(symbol) : placeIn(frame.module, address - start);
    frame.file = frame.file.empty() ? frame.module : frame.file;
    out->push_back(frame);
}

bool beginsWithAny(std::string_view text, std::initializer_list<std::string_view> prefixes) {
    return std::ranges::any_of(prefixes, [&](auto prefix) { return text.starts_with(prefix); });
}

std::string_view fileName(const Frame& frame) {
    const std::string_view path = frame.module;
    return path.substr(path.rfind('/') + 1);
}

bool isRuntime(const Frame& frame) {
    return beginsWithAny(fileName(frame), {"libc.so", "libc-", "libpthread", "libstdc++", "libasan",
                                           "libtsan", "libubsan", "ld-linux", "[vdso"}) ||
           beginsWithAny(frame.function, {"__interceptor_", "___interceptor_", "__asan_", "__tsan_",
                                          "__sanitizer"});
}

bool isPlatform(const Frame& frame) {
    return beginsWithAny(fileName(frame), {"libzelkcam_host.so", "libzelkcam_check",
                                           "mapper.default.so", "libcutils.so", "libutils.so"});
}

bool isLibrary(const Frame& frame) {
    return beginsWithAny(fileName(frame), {"libzelkcam_grallocutils.so", "libplexa.so"});
}

// Names that were found once: looking them up reads whole files, and a place is often told of many
// times. All are looked up again after a library was unloaded, as others may lie there now.
class Names {
  public:
    std::vector<Frame> resolve(const CallStack& stack) {
        const OwnWork own;  // closes files
        const std::lock_guard guard(mMutex);
        forgetUnloaded();
        Session session;  // holds descriptors, so not longer than this
        std::vector<Frame> frames;
        bool exact = stack.beginsAtInstruction();
        for (void* const pc : stack.frames()) {
            const auto address = reinterpret_cast<Dwarf_Addr>(pc) - (exact ? 0 : 1);
            const std::vector<Frame>& found = framesAt(address, &session);
            frames.insert(frames.end(), found.begin(), found.end());
            exact = false;
            if (!found.empty() && found.back().function == "main") {
                break;
            }
        }
        return frames;
    }

    std::mutex& mutex() { return mMutex; }

  private:
    void forgetUnloaded() {
        const auto read = [](dl_phdr_info* info, size_t, void* unloaded) {
            *static_cast<unsigned long long*>(unloaded) = info->dlpi_subs;
            return 1;
        };
        unsigned long long unloaded = 0;
        dl_iterate_phdr(read, &unloaded);
        if (unloaded != mUnloaded) {
            mFrames.clear();
            mUnloaded = unloaded;
        }
    }

    const std::vector<Frame>& framesAt(Dwarf_Addr address, Session* session) {
        const auto [known, isNew] = mFrames.try_emplace(address);
        if (isNew && *session == nullptr) {
            *session = openSession();
        }
        if (isNew && *session != nullptr) {
            addFrames(session->get(), address, &known->second);
        }
        return known->second;
    }

    std::mutex mMutex;
    unsigned long long mUnloaded = 0;
    std::map<Dwarf_Addr, std::vector<Frame>> mFrames;
};

// Never destroyed: findings are told while the process ends.
Names& names() {
    static auto& names = *new Names;
    return names;
}

// Before the others: names are looked up while findings are told, so this is locked last.
__attribute__((constructor(200))) void keepNamesAcrossForks() {
    pthread_atfork([] { names().mutex().lock(); }, [] { names().mutex().unlock(); },
                   [] { names().mutex().unlock(); });
}

// Published headers define much inline, which then is in the program's own code. A frame without a
// line has its module's path, wherever that is installed.
bool isPublishedHeader(const Frame& frame) {
    const auto contains = [&frame](const char* folder) {
        return frame.file.find(folder) != std::string::npos;
    };
    return frame.line > 0 &&
           (contains("/host/include/") || contains("include/zelkcam/") ||
            contains("/include/c++/") || beginsWithAny(frame.file, {"/usr/include/", "/usr/lib/"}));
}

}  // namespace

std::vector<Frame> resolve(const CallStack& stack) {
    return names().resolve(stack);
}

Owner ownerOf(const std::vector<Frame>& frames) {
    // The frames of the checker itself come first in every stack.
    const auto isOwn = [](const Frame& frame) {
        return isRuntime(frame) || fileName(frame).starts_with("libzelkcam_check");
    };
    const auto found = std::ranges::find_if_not(frames, isOwn);
    if (found == frames.end() || isPlatform(*found)) {
        return found == frames.end() ? Owner::Program : Owner::Platform;
    }
    return isLibrary(*found) ? Owner::Library : Owner::Program;
}

bool isUnlockInsideLock(const std::vector<Frame>& frames) {
    return std::ranges::any_of(frames, [](const Frame& frame) {
        return isLibrary(frame) && frame.function.ends_with("::lock");
    });
}

bool isUnlockOfLayoutQuery(const std::vector<Frame>& frames) {
    return std::ranges::any_of(frames, [](const Frame& frame) {
        return isLibrary(frame) &&
               (frame.function.ends_with("::gQueryYCbCr") || frame.function.ends_with("::query"));
    });
}

std::vector<Frame> programFrames(std::vector<Frame> frames) {
    const auto first = std::ranges::find_if_not(frames, [](const Frame& frame) {
        return isRuntime(frame) || isPlatform(frame) || isLibrary(frame) ||
               isPublishedHeader(frame);
    });
    if (first != frames.end()) {
        frames.erase(frames.begin(), first);
    }
    return frames;
}

}  // namespace zelkcam::host::check
