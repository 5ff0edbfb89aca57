// What libStpOpenConfig shows to those who link it: its classes, their factories, the module record
// and the few functions that its headers declare, and nothing else.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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

std::vector<Symbol> exportedSymbols() {
  std::string const command =
      std::string(NM_COMMAND) + " -D --defined-only -C -P '" + STP_LIBRARY + "'";
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
  // "NAME TYPE VALUE SIZE"; a demangled name has blanks of its own.
  std::regex const line("(.*) ([A-Za-z]) [0-9a-f]+( [0-9a-f]+)?");
  std::vector<Symbol> symbols;
  for (std::size_t at = 0; at < output.size();) {
    std::size_t const end = output.find('\n', at);
    std::string const text = output.substr(at, end - at);
    std::smatch parts;
    if (!std::regex_match(text, parts, line)) {
      throw std::runtime_error("no symbol: " + text);
    }
    symbols.push_back({parts[1], std::string("VvWwu").find(parts[2].str()) != std::string::npos});
    at = end + 1;
  }
  return symbols;
}

std::vector<std::string> const classes{
    "OCGlobalConfigSm",      "OCGlobalVlanSyncher",
    "OCGlobalStateSm",       "OCPortConfigSm",
    "OCStpiStatusConfigSm",  "OCInterfaceConfigDirSm",
    "OCStpiPortStatusSm",    "OCStpiStatusSm",
    "OCInterfaceStateDirSm", "OCMstiConfigSm",
    "OCMstpConfigSm",        "OCMstpConfigWrapperSm",
    "OCMstpTrigger",         "OCMstSm",
    "OCMstiStatusSm",        "OCMstpMainStateSm",
};

// All classes but those that only a parent makes have one.
std::vector<std::string> const factories{
    "oCGlobalConfigSmFactory", "oCGlobalVlanSyncherFactory",    "oCGlobalStateSmFactory",
    "oCPortConfigSmFactory",   "oCInterfaceConfigDirSmFactory", "oCStpiPortStatusSmFactory",
    "oCStpiStatusSmFactory",   "oCInterfaceStateDirSmFactory",  "oCMstiConfigSmFactory",
    "oCMstpConfigSmFactory",   "oCMstpConfigWrapperSmFactory",  "oCMstSmFactory",
    "oCMstiStatusSmFactory",   "oCMstpMainStateSmFactory",
};

std::vector<std::string> const functions{
    "_defaultTraceHandle", "instanceIdToMstiName",     "mstiNameToInstanceId",
    "mstpInstanceName",    "addDisabledVlanIdOrRange", "compressDisabledVlans",
};

std::string anyOf(std::vector<std::string> const& names) {
  std::string pattern;
  for (std::string const& name : names) {
    pattern.append(pattern.empty() ? "(" : "|").append(name);
  }
  return pattern + ")";
}

std::string const record = "_StpOpenConfigSm_a888b7c7e663556e_velModule";

TEST(ExportedSymbols, AreThoseOfTheInterfaceAlone) {
  std::regex const interface(record + "|Stp::" + anyOf(classes) + "::.*|Stp::" + anyOf(factories) +
                             R"(\(.*|(void )?Stp::)" + anyOf(functions) + R"([<(].*)");
  // The classes' type information, their attributes and bases; and what the layers below, whose
  // names know nothing of this one, have in headers.
  std::regex const support(
      "((vtable|typeinfo|typeinfo name|guard variable|VTT) for )?Stp::((Tracked|Reactor)<Stp::)?" +
      anyOf(classes) + "(Attributes)?([,>].*)?|((?!Stp::).)*");
  for (Symbol const& symbol : exportedSymbols()) {
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

TEST(ExportedSymbols, HaveAllThatUsersNeed) {
  std::set<std::string> names;
  for (Symbol const& symbol : exportedSymbols()) {
    std::string name = symbol.name.substr(0, symbol.name.find_first_of("(<"));
    names.insert(name.starts_with("void ") ? name.substr(5) : name);
  }
  EXPECT_TRUE(names.contains(record));
  for (std::string const& name : functions) {
    EXPECT_TRUE(names.contains("Stp::" + name)) << name;
  }
  for (std::string const& name : factories) {
    EXPECT_TRUE(names.contains("Stp::" + name)) << name;
  }
  for (std::string const& name : classes) {
    EXPECT_TRUE(names.contains("Stp::" + name + "::" + name)) << name;
    EXPECT_TRUE(names.contains("vtable for Stp::" + name)) << name;
    EXPECT_TRUE(names.contains("typeinfo for Stp::" + name)) << name;
  }
}

}  // namespace
