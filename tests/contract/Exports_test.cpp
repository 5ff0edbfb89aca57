// What the libraries show to those who link them: their classes, their factories, the module record
// and the few functions that their headers declare, and nothing else.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// One exported symbol: its demangled name, and whether it is the only definition that a process
// has. The others, "weak" ones, are what every user of a header makes for himself, too.
struct Symbol {
  std::string name;
  bool weak;
};

std::vector<Symbol> exportedSymbols(std::string const& library) {
  std::string const command =
      std::string(NM_COMMAND) + " -D --defined-only -C -P '" + library + "'";
  FILE* const pipe = popen(command.c_str(), "r");  // NOLINT(cert-env33-c): a fixed command
  if (pipe == nullptr) {
    throw std::runtime_error("cannot run " + command);
  }
  std::string output;
  std::array<char, 4096> buffer{};
  while (std::size_t const size = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
    output.append(buffer.data(), size);
  }
  if (pclose(pipe) != 0) {
    throw std::runtime_error(command + " failed");
  }
  // "NAME TYPE VALUE SIZE", the size perhaps empty; a demangled name has blanks of its own. The
  // type is small where the symbol is local, though it is listed, or weak.
  std::regex const line("(.*) ([A-Za-z]) [0-9a-f]+( [0-9a-f]*)?");
  std::vector<Symbol> symbols;
  for (std::size_t at = 0; at < output.size();) {
    std::size_t const end = output.find('\n', at);
    std::string const text = output.substr(at, end - at);
    std::smatch parts;
    if (!std::regex_match(text, parts, line)) {
      throw std::runtime_error("no symbol: " + text);
    }
    char const type = *parts[2].first;
    bool const isWeak = std::string("VvWwu").find(type) != std::string::npos;
    if (isWeak || std::isupper(static_cast<unsigned char>(type)) != 0) {
      symbols.push_back({parts[1], isWeak});
    }
    at = end + 1;
  }
  return symbols;
}

using Names = std::vector<std::string>;

// One library.
struct Interface {
  std::string library;
  std::string space;  // of all names but the record's
  std::string record;
  Names classes;
  Names factories;  // all classes but those that only a parent makes have one
  Names functions;
  Names entities;
};

Interface const mirrors{
    STP_LIBRARY,
    "Stp::",
    "_StpOpenConfigSm_a888b7c7e663556e_velModule",
    {"OCGlobalConfigSm", "OCGlobalVlanSyncher", "OCGlobalStateSm", "OCPortConfigSm",
     "OCStpiStatusConfigSm", "OCInterfaceConfigDirSm", "OCStpiPortStatusSm", "OCStpiStatusSm",
     "OCInterfaceStateDirSm", "OCMstiConfigSm", "OCMstpConfigSm", "OCMstpConfigWrapperSm",
     "OCMstpTrigger", "OCMstSm", "OCMstiStatusSm", "OCMstpMainStateSm"},
    {"oCGlobalConfigSmFactory", "oCGlobalVlanSyncherFactory", "oCGlobalStateSmFactory",
     "oCPortConfigSmFactory", "oCInterfaceConfigDirSmFactory", "oCStpiPortStatusSmFactory",
     "oCStpiStatusSmFactory", "oCInterfaceStateDirSmFactory", "oCMstiConfigSmFactory",
     "oCMstpConfigSmFactory", "oCMstpConfigWrapperSmFactory", "oCMstSmFactory",
     "oCMstiStatusSmFactory", "oCMstpMainStateSmFactory"},
    {"_defaultTraceHandle", "instanceIdToMstiName", "mstiNameToInstanceId", "mstpInstanceName",
     "addDisabledVlanIdOrRange", "compressDisabledVlans"},
    {},
};

Interface const operationalMirrors{
    STP_OPERATIONAL_LIBRARY,
    "Stp::Oper::",
    "Stp::Oper::stpOperationalSmModule",
    {"OCProtocolParametersSm", "OCTreePortSm", "OCTreeSm", "OCTreeDirSm", "OCProtectionSm",
     "OCProtectionDirSm"},
    {"oCProtocolParametersSmFactory", "oCTreePortSmFactory", "oCTreeSmFactory",
     "oCTreeDirSmFactory", "oCProtectionSmFactory", "oCProtectionDirSmFactory"},
    {"defaultTraceHandle"},
    {"TreeScope"},
};

std::string anyOf(Names const& names, Names const& more = {}) {
  std::string pattern;
  for (Names const* const each : {&names, &more}) {
    for (std::string const& name : *each) {
      pattern.append(pattern.empty() ? "(" : "|").append(name);
    }
  }
  return pattern + ")";
}

class ExportedSymbols : public testing::TestWithParam<Interface> {};

TEST_P(ExportedSymbols, AreThoseOfTheInterfaceAlone) {
  Interface const& own = GetParam();
  std::string const types = anyOf(own.classes, own.entities);
  std::regex const interface(
      own.record + "|" + own.space + types + "::.*|" + own.space + anyOf(own.factories) +
      R"(\(.*|(void )?)" + own.space + anyOf(own.functions) + R"([<(].*)" +
      (own.entities.empty()
           ? ""
           : "|(vtable|typeinfo|typeinfo name) for " + own.space + anyOf(own.entities)));
  // The classes' type information, their attributes and bases; and what the layers below, whose
  // names know nothing of this one, have in headers.
  std::regex const support(
      "((vtable|typeinfo|typeinfo name|guard variable|VTT) for )?(Stp::[A-Z][A-Za-z]*<)*" +
      own.space + types + "(Attributes)?([,>].*)?|((?!" + own.space + ").)*");
  for (Symbol const& symbol : exportedSymbols(own.library)) {
    if (!std::regex_match(symbol.name, interface)) {
#ifdef STP_INSTRUMENTED
      // Instrumented code exports more of these, and names that are the compiler's own.
      EXPECT_TRUE(symbol.weak || symbol.name.starts_with("__")) << symbol.name;
#else
      EXPECT_TRUE(symbol.weak && std::regex_match(symbol.name, support)) << symbol.name;
#endif
    }
  }
}

TEST_P(ExportedSymbols, HaveAllThatUsersNeed) {
  Interface const& own = GetParam();
  std::set<std::string> names;
  for (Symbol const& symbol : exportedSymbols(own.library)) {
    std::string name = symbol.name.substr(0, symbol.name.find_first_of("(<"));
    names.insert(name.starts_with("void ") ? name.substr(5) : name);
  }
  EXPECT_TRUE(names.contains(own.record));
  for (Names const* const functions : {&own.functions, &own.factories}) {
    for (std::string const& name : *functions) {
      EXPECT_TRUE(names.contains(own.space + name)) << name;
    }
  }
  for (std::string const& name : own.classes) {
    EXPECT_TRUE(names.contains(own.space + name + "::" + name)) << name;
    EXPECT_TRUE(names.contains("vtable for " + own.space + name)) << name;
    EXPECT_TRUE(names.contains("typeinfo for " + own.space + name)) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Of, ExportedSymbols, testing::Values(mirrors, operationalMirrors),
                         [](auto const& of) {
                           return std::string(of.index == 0 ? "TheMirrors"
                                                            : "TheOperationalMirrors");
                         });

}  // namespace
