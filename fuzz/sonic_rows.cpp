// Rows of SONiC's databases: arbitrary keys, fields and bytes. Each part ends with a byte 0xFF but
// a row, whose field names and values do, and which ends with an empty name. Whatever they are, the
// sources can be led by them, into a live mirror, and come to what a scan of them comes to.
#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/sources/sonic/Mapping.h"
#include "agent/state/Database.h"
#include "agent/state/Mirror.h"
#include "fuzz/Input.h"

namespace {

using Agent::Sonic::Fields;
using Agent::Sonic::Mapping;
using Agent::Sonic::RowRead;
using Agent::Sonic::Store;
using Agent::Sonic::Write;
using Agent::Sonic::Writes;

constexpr char separator = '\xFF';

// The first byte says which database, and what is done; the rest is the key, and fields.
RowRead takeRow(std::string_view& rest) {
  std::string_view head = Fuzz::takeUntil(rest, separator);
  unsigned const what = head.empty() ? 0U : static_cast<unsigned char>(head.front());
  head.remove_prefix(head.empty() ? 0 : 1);
  RowRead row{static_cast<Store>(what % 3), std::string(head), Fields(), what / 3 % 8 == 7};
  while (!rest.empty()) {
    std::string_view const name = Fuzz::takeUntil(rest, separator);
    if (name.empty()) {
      break;
    }
    row.fields->insert_or_assign(std::string(name), std::string(Fuzz::takeUntil(rest, separator)));
  }
  if (what / 3 % 8 == 6 || row.isWrongType) {
    row.fields.reset();
  }
  return row;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string_view rest = Fuzz::text(data, size);
  Agent::Database database;
  Agent::Mirror mirror(database);
  Mapping mapping;
  mapping.scanned({});
  database.apply(mapping.differences(database.sources()));
  mirror.startAll();
  std::map<std::pair<Store, std::string>, RowRead> rows;
  while (!rest.empty()) {
    RowRead const row = takeRow(rest);
    rows.insert_or_assign({row.store, row.key}, row);
    mapping.changed({&row, 1});
    database.apply(mapping.differences(database.sources()));
    Fuzz::require(mapping.differences(database.sources()).empty(),
                  "rows that were applied differ no longer");
    for (std::string const& complaint : mapping.takeComplaints()) {
      Fuzz::require(complaint.find('\n') == std::string::npos, "a complaint is one line");
    }
  }
  std::vector<RowRead> all;
  for (auto const& [key, row] : rows) {
    all.push_back(row);
  }
  mapping.scanned(all);
  Fuzz::require(mapping.differences(database.sources()).empty(), "a scan finds what was followed");
  Fuzz::require(mapping.takeComplaints().empty(), "a scan tells nothing again");
  Stp::VlanSet disabled;
  disabled.insert(10);
  Writes const writes = mapping.writesOfDisabledVlans(disabled);
  Fuzz::require(writes.refusal.empty() || writes.writes.empty(), "all is written, or nothing");
  for (Write const& write : writes.writes) {
    Fuzz::require(std::ranges::find(writes.watched, write.key) != writes.watched.end(),
                  "what is written is watched");
  }
  return 0;
}
