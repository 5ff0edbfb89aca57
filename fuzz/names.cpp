// Names: instance names and ids map both ways, interface names one to one, and their natural order
// is an order; an identifier's text is read as what it was written for. The input is names, one a
// line.
#include <optional>
#include <string>
#include <vector>

#include "Lanx/IntfId.h"
#include "Lumo/RangeException.h"
#include "Stp/vlans/InstanceName.h"
#include "agent/text/Identifiers.h"
#include "agent/views/document/EntryKey.h"
#include "fuzz/Input.h"

namespace {

void instanceName(Lumo::String const& name) {
  try {
    std::uint16_t const id = Stp::mstiNameToInstanceId(name);
    Fuzz::require(Stp::instanceIdToMstiName(id) == name, "an instance name is the one of its id");
  } catch (Lumo::RangeException const& error) {
    // A message is a C string: it ends with the first NUL byte of the name.
    std::string const culprit = name.toString().c_str();
    Fuzz::require(std::string(error.what()).find(culprit) != std::string::npos,
                  "the error names the culprit");
  }
}

template <class Identifier>
void identifier(std::optional<Identifier> (*read)(std::string_view), std::string_view text) {
  if (auto const id = read(text)) {
    Fuzz::require(read(Agent::textOf(*id)) == id, "an identifier is that of its text");
    Fuzz::require(Agent::textOf(*id).size() == text.size(), "its text has one length");
  }
}

void order(std::string_view a, std::string_view b, std::string_view c) {
  bool const ab = Agent::naturalLess(a, b);
  Fuzz::require(!Agent::naturalLess(a, a), "no name is before itself");
  Fuzz::require(!ab || !Agent::naturalLess(b, a), "the order has one direction");
  Fuzz::require(a == b || ab || Agent::naturalLess(b, a), "different names have an order");
  Fuzz::require(!ab || !Agent::naturalLess(b, c) || Agent::naturalLess(a, c),
                "the order is transitive");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string_view rest = Fuzz::text(data, size);
  std::vector<std::string_view> names;
  while (!rest.empty() && names.size() < 16) {
    names.push_back(Fuzz::takeUntil(rest, '\n'));
  }
  for (std::string_view const text : names) {
    Lumo::String const name(text);
    Fuzz::require(name.view() == text, "a name is its text");
    instanceName(name);
    identifier(&Agent::bridgeIdOf, text);
    identifier(&Agent::portIdOf, text);
    identifier(&Agent::treeIdOf, text);
    identifier(&Agent::treePortIdOf, text);
    Fuzz::require(Lanx::IntfId::of(name).stringValue() == name, "an interface id has its name");
    for (std::string_view const other : names) {
      Fuzz::require((Lumo::String(other) == name) == (other == text), "equal names are one");
      order(text, other, names.back());
    }
  }
  return 0;
}
