#include "agent/sources/sonic/RowTables.h"

#include <algorithm>
#include <set>
#include <utility>

#include "agent/text/Json.h"

namespace Agent::Sonic {

namespace {

// Calls `call` with each table and its place.
template <class Call>
void eachTable(Call const& call) {
  std::apply(
      [&call](auto const&... table) {
        std::size_t at = 0;
        (call(table, at++), ...);
      },
      fieldTable);
}

template <class Table>
constexpr bool hasOneRow = std::is_same_v<typename Table::Key, OnlyRow>;

// The text as a pattern that only it matches.
std::string literally(std::string_view text) {
  std::string pattern;
  for (char const letter : text) {
    if (std::string_view("*?[]\\").find(letter) != std::string_view::npos) {
      pattern += '\\';
    }
    pattern += letter;
  }
  return pattern;
}

// Reads a field into a record.
template <class Record, class Value>
void read(Field<Record, Value> const& field, Fields const& fields, Record& record,
          WrongFields& wrong) {
  auto const at = fields.find(field.name);
  if (at == fields.end() || at->second.empty()) {
    return;
  }
  record.*field.member = field.read(at->second);
  if (!(record.*field.member)) {
    wrong.emplace(field.name, Wrong{at->second, inQuotes(at->second) + " can't be read"});
  }
}

}  // namespace

std::string const& Separators::of(Store store) const {
  switch (store) {
    case Store::application: return application;
    case Store::configuration: return configuration;
    case Store::state: break;
  }
  return state;
}

RowTables::RowTables(Separators separators) : separators_(std::move(separators)) {
  eachTable([this](auto const& table, std::size_t at) {
    std::string const text = std::string(table.name) + separators_.of(table.store);
    prefixes_.push_back({table.store, text, at, false});
    if (table.names == Names::ownAndTemporary) {
      prefixes_.push_back({table.store, "_" + text, at, true});
    }
  });
}

// Which table's row a key is.
RowTables::Prefix const* RowTables::prefixOf(Store store, std::string_view key) const {
  for (Prefix const& prefix : prefixes_) {
    if (prefix.store == store && key.starts_with(prefix.text)) {
      bool isRead = true;
      eachTable([&](auto const& table, std::size_t at) {
        // The others of such a table are none of ours.
        if (at == prefix.table && hasOneRow<std::remove_cvref_t<decltype(table)>>) {
          isRead = table.readKey(key.substr(prefix.text.size()), {}).has_value();
        }
      });
      if (isRead) {
        return &prefix;
      }
    }
  }
  return nullptr;
}

bool RowTables::isMapped(Store store, std::string_view key) const {
  return prefixOf(store, key) != nullptr;
}

// What all begin with, and the letters of which one follows.
std::string RowTables::pattern(Store store) const {
  std::vector<std::string_view> texts;
  for (Prefix const& prefix : prefixes_) {
    if (prefix.store == store) {
      texts.push_back(prefix.text);
    }
  }
  auto const [least, greatest] = std::ranges::minmax(texts);
  auto const common =
      static_cast<std::size_t>(std::ranges::mismatch(least, greatest).in1 - least.begin());
  std::string pattern = literally(least.substr(0, common));
  if (common < least.size()) {
    std::set<char> letters;
    for (std::string_view const text : texts) {
      letters.insert(text[common]);
    }
    pattern += '[';
    for (char const letter : letters) {
      pattern.append({'\\', letter});
    }
    pattern += ']';
  }
  return pattern + '*';
}

template <class Table, class Set>
void RowTables::takeInto(Table const& table, Set& set, RowRead const& row, Prefix const& prefix,
                         Dirty& dirty, Complaints& complaints) const {
  WrongFields wrong;
  auto const key = table.readKey(std::string_view(row.key).substr(prefix.text.size()),
                                 separators_.of(row.store));
  bool const isThere = row.fields.has_value() || row.isWrongType;
  if (isThere && !key) {
    wrong.emplace("", Wrong{"", "this key can't be read, and the row is left out"});
  } else if (row.isWrongType) {
    wrong.emplace("", Wrong{"not a hash", "this is no hash, and is left out"});
  }
  if (key) {
    typename Set::Form const form{static_cast<std::uint8_t>(key->rank * 2U + prefix.isTemporary),
                                  row.key};
    bool isNew = false;
    if (row.fields && !row.isWrongType) {
      typename Table::Record record;
      std::apply([&](auto const&... field) { (read(field, *row.fields, record, wrong), ...); },
                 table.fields);
      isNew = set.recordIs(key->key, form, record);
    } else {
      isNew = set.recordDel(key->key, form);
    }
    if (isNew) {
      dirty.touch(std::type_identity<typename Table::Record>(), key->key);
    }
  }
  complaints.rowIs(row.store, row.key, std::move(wrong));
}

void RowTables::take(RowRead const& row, Dirty& dirty, Complaints& complaints) {
  Prefix const* const prefix = prefixOf(row.store, row.key);
  if (prefix == nullptr) {
    return;
  }
  [&]<std::size_t... at>(std::index_sequence<at...> /*tables*/) {
    (void)((at == prefix->table && (takeInto(std::get<at>(fieldTable), std::get<at>(sets_), row,
                                             *prefix, dirty, complaints),
                                    true)) ||
           ...);
  }
  (std::make_index_sequence<std::tuple_size_v<decltype(fieldTable)>>());
}

}  // namespace Agent::Sonic
