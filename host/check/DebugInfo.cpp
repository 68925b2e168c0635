#include "host/check/DebugInfo.h"

#include <cxxabi.h>
#include <dwarf.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>

namespace zelkcam::host::check {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

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
            name.insert(0, nameOfScope(scopes + i) + "::");
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
    const char* const symbol = dwfl_module_addrname(module, address);
    const Scopes scopes = scopesAround(unit, address - bias);
    for (int i = 0; i < scopes.count; ++i) {
        Dwarf_Die* const scope = scopes.dies.get() + i;
        const int tag = dwarf_tag(scope);
        if (tag == DW_TAG_inlined_subroutine || tag == DW_TAG_subprogram) {
            frame.function = nameOf(scope, symbol);
            out->push_back(frame);
            moveToCall(unit, scope, &frame);
        }
        if (tag == DW_TAG_subprogram) {
            return true;
        }
    }
    // A lambda's code may be described inside the function around it, which is elsewhere.
    if (symbol == nullptr || frame.line == 0) {
        return false;
    }
    frame.function = readable(symbol);
    out->push_back(frame);
    return true;
}

std::string placeIn(const std::string& module, Dwarf_Addr offset) {
    char place[32];
    static_cast<void>(std::snprintf(place, sizeof(place), "+0x%llx",
                                    static_cast<unsigned long long>(offset)));
    return module.substr(module.rfind('/') + 1) + place;
}

// ---- Tail calls. A function that ends with a call of another may leave no frame: that one returns
// to its caller. The caller's debug information names the function that it called all the same.

// A call in the code of a function. Calls through a pointer have no callee.
struct CallSite {
    Dwarf_Addr back = 0;  // behind the call
    bool isTail = false;
    std::optional<Dwarf_Die> callee;
};

CallSite callSiteOf(Dwarf_Die* site) {
    CallSite call;
    Dwarf_Attribute attribute;
    Dwarf_Die callee;
    if (dwarf_formaddr(dwarf_attr(site, DW_AT_call_return_pc, &attribute), &call.back) != 0 &&
        dwarf_formaddr(dwarf_attr(site, DW_AT_call_pc, &attribute), &call.back) == 0) {
        ++call.back;  // inside the instruction is enough
    }
    call.isTail = dwarf_hasattr(site, DW_AT_call_tail_call) != 0;
    if (dwarf_formref_die(dwarf_attr(site, DW_AT_call_origin, &attribute), &callee) != nullptr) {
        call.callee = callee;
    }
    return call;
}

// Those of inlined functions, too.
std::vector<CallSite> callSitesIn(Dwarf_Die* function) {
    std::vector<CallSite> calls;
    Dwarf_Die child;
    for (int end = dwarf_child(function, &child); end == 0; end = dwarf_siblingof(&child, &child)) {
        const int tag = dwarf_tag(&child);
        if (tag == DW_TAG_call_site) {
            calls.push_back(callSiteOf(&child));
        } else if (tag == DW_TAG_lexical_block || tag == DW_TAG_inlined_subroutine) {
            std::ranges::move(callSitesIn(&child), std::back_inserter(calls));
        }
    }
    return calls;
}

// A function's code. Addresses in the debug information are less by the bias.
struct Code {
    Dwarf_Die function;
    Dwarf_Addr bias = 0;
};

std::optional<Code> codeAround(Dwfl_Module* module, Dwarf_Addr address) {
    Code code;
    Dwarf_Die* const unit = unitAround(module, address, &code.bias);
    const Scopes scopes = unit != nullptr ? scopesAround(unit, address - code.bias) : Scopes();
    for (int i = 0; i < scopes.count; ++i) {
        code.function = scopes.dies.get()[i];
        if (dwarf_tag(&code.function) == DW_TAG_subprogram) {
            return code;
        }
    }
    return std::nullopt;
}

// Where the module defines a function of that name; 0 when it does not.
Dwarf_Addr addressOfSymbol(Dwfl_Module* module, std::string_view name) {
    const int count = dwfl_module_getsymtab(module);
    for (int i = 0; i < count; ++i) {
        GElf_Sym symbol;
        GElf_Addr address = 0;
        const char* const found =
                dwfl_module_getsym_info(module, i, &symbol, &address, nullptr, nullptr, nullptr);
        if (found != nullptr && name == found && symbol.st_shndx != SHN_UNDEF) {
            return address;
        }
    }
    return 0;
}

std::optional<Code> codeOf(Dwfl_Module* module, Dwarf_Addr bias, Dwarf_Die* callee) {
    Dwarf_Addr entry = 0;
    if (dwarf_entrypc(callee, &entry) == 0) {
        return codeAround(module, entry + bias);
    }
    Dwarf_Attribute attribute;
    const char* const linkage =
            dwarf_formstring(dwarf_attr_integrate(callee, DW_AT_linkage_name, &attribute));
    entry = addressOfSymbol(module, linkage != nullptr ? linkage : text(dwarf_diename(callee)));
    return entry != 0 ? codeAround(module, entry) : std::nullopt;
}

// The tail call that `callee` was reached by, when the debug information leaves no doubt.
std::optional<CallSite> tailCallTo(const std::string& callee, Dwarf_Die* function) {
    std::vector<CallSite> calls = callSitesIn(function);
    std::erase_if(calls, [](const CallSite& call) { return !call.isTail; });
    const auto narrow = [&calls](const auto& fits) {
        if (std::ranges::any_of(calls, fits)) {
            std::erase_if(calls, [&fits](CallSite& call) { return !fits(call); });
        }
    };
    narrow([](const CallSite& call) { return !call.callee; });
    narrow([&callee](CallSite& call) {
        return call.callee && nameOf(&*call.callee, nullptr) == callee;
    });
    return calls.size() == 1 ? std::optional(calls.front()) : std::nullopt;
}

// Where the function begins, when it is not known which of its calls it was.
Frame beginOf(Dwfl_Module* module, Code code, const Frame& known) {
    Dwarf_Addr entry = 0;
    std::vector<Frame> frames = {known};
    dwarf_entrypc(&code.function, &entry);
    addFunctions(module, entry + code.bias, known, &frames);
    return frames.back();
}

std::string moduleFile(Dwfl_Module* module, Dwarf_Addr* start) {
    const char* file = nullptr;
    const char* const name =
            dwfl_module_info(module, nullptr, start, nullptr, nullptr, nullptr, &file, nullptr);
    return text(file != nullptr ? file : name);
}

}  // namespace

void DebugInfo::End::operator()(Dwfl* session) const {
    dwfl_end(session);
}

DebugInfo::DebugInfo() {
    static const Dwfl_Callbacks kCallbacks = {dwfl_linux_proc_find_elf,
                                              dwfl_standard_find_debuginfo, nullptr, nullptr};
    mSession.reset(dwfl_begin(&kCallbacks));
    if (mSession != nullptr && (dwfl_linux_proc_report(mSession.get(), getpid()) != 0 ||
                                dwfl_report_end(mSession.get(), nullptr, nullptr) != 0)) {
        mSession.reset();
    }
}

std::vector<Frame> DebugInfo::functionsAt(uint64_t address) const {
    std::vector<Frame> frames;
    Dwfl_Module* const module =
            mSession != nullptr ? dwfl_addrmodule(mSession.get(), address) : nullptr;
    if (module == nullptr) {
        return {{placeIn("", address), "", 0, ""}};
    }
    Frame frame;
    Dwarf_Addr start = 0;
    frame.module = moduleFile(module, &start);
    if (addFunctions(module, address, frame, &frames)) {
        return frames;
    }
    const char* const symbol = dwfl_module_addrname(module, address);
    frame.function = symbol != nullptr ? readable(symbol) : placeIn(frame.module, address - start);
    frame.file = frame.module;
    return {frame};
}

std::vector<Frame> DebugInfo::tailCallersBetween(uint64_t caller, uint64_t callee,
                                                 const std::string& calleeName) const {
    constexpr int kLongest = 8;
    std::vector<Frame> frames;
    Dwfl_Module* const module =
            mSession != nullptr ? dwfl_addrmodule(mSession.get(), caller) : nullptr;
    auto code = module != nullptr ? codeAround(module, caller) : std::nullopt;
    std::optional<CallSite> call;
    for (const CallSite& site : code ? callSitesIn(&code->function) : std::vector<CallSite>()) {
        call = site.back == caller + 1 - code->bias ? std::optional(site) : call;
    }
    Frame frame;
    frame.module = module != nullptr ? moduleFile(module, nullptr) : "";
    for (int i = 0; i < kLongest && call && call->callee; ++i) {
        code = codeOf(module, code->bias, &*call->callee);
        if (!code || dwarf_haspc(&code->function, callee - code->bias) > 0) {
            break;
        }
        call = tailCallTo(calleeName, &code->function);
        std::vector<Frame> found;
        if (!call || !addFunctions(module, call->back - 1 + code->bias, frame, &found)) {
            found = {beginOf(module, *code, frame)};
        }
        frames.insert(frames.begin(), found.begin(), found.end());
    }
    return frames;
}

}  // namespace zelkcam::host::check
