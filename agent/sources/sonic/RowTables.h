// The rows of the databases, read as FieldTable.h says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "agent/sources/sonic/Complaints.h"
#include "agent/sources/sonic/Dirty.h"
#include "agent/sources/sonic/FieldTable.h"
#include "agent/sources/sonic/RecordSet.h"
#include "agent/sources/sonic/Rows.h"

namespace Agent::Sonic {

/// What separates the parts of a key, in each database.
struct Separators {
  std::string application = ":";
  std::string configuration = "|";
  std::string state = "|";

  std::string const& of(Store store) const;
};

class RowTables {
 public:
  explicit RowTables(Separators separators);

  Separators const& separators() const { return separators_; }

  /// Whether anything is read of the row under this key.
  bool isMapped(Store store, std::string_view key) const;

  /// A pattern, as SCAN has them, of the keys of a database of which something is read: one, since
  /// the server goes through all keys for each.
  std::string pattern(Store store) const;

  /// Takes a row in. What it says otherwise than before is added to `dirty`, and what of it can't
  /// be read to `complaints`. A row of which nothing is read is ignored.
  void take(RowRead const& row, Dirty& dirty, Complaints& complaints);

  /// Forgets all rows.
  void clear() { sets_ = {}; }

  /// The records of a type.
  template <class Record>
  auto const& of() const {
    return std::get<indexOf<Record>()>(sets_);
  }
  template <class Record>
  auto const& things() const {
    return of<Record>().things();
  }

  /// What is said of a thing, by the row that counts or, in a merged table, field by field by the
  /// first row that has it; nothing, where there is no row.
  template <class Record, class Key>
  std::optional<Record> find(Key const& key) const {
    auto const* const forms = of<Record>().find(key);
    if (forms == nullptr) {
      return std::nullopt;
    }
    constexpr auto const& table = std::get<indexOf<Record>()>(fieldTable);
    std::optional<Record> result = forms->begin()->second;
    if (table.isMerged) {
      for (auto const& [form, record] : *forms) {
        std::apply([&result, &record = record](
                       auto const&... field) { (amend(*result, record, field.member), ...); },
                   table.fields);
      }
    }
    return result;
  }

 private:
  template <class>
  struct SetsOf;
  template <class... Tables>
  struct SetsOf<std::tuple<Tables...> const> {
    using Type = std::tuple<RecordSet<typename Tables::Record, typename Tables::Key>...>;
  };

  // Where the rows of a table lie.
  struct Prefix {
    Store store;
    std::string text;
    std::size_t table;
    bool isTemporary;
  };

  template <class Record>
  static constexpr std::size_t indexOf() {
    return std::apply(
        []<class... Tables>(Tables const&... /*table*/) {
          std::size_t before = 0;
          (void)((!std::is_same_v<typename Tables::Record, Record> && (++before, true)) && ...);
          return before;
        },
        fieldTable);
  }

  template <class Record, class Value>
  static void amend(Record& result, Record const& record, std::optional<Value> Record::*member) {
    if (!(result.*member)) {
      result.*member = record.*member;
    }
  }

  template <class Table, class Set>
  void takeInto(Table const& table, Set& set, RowRead const& row, Prefix const& prefix,
                Dirty& dirty, Complaints& complaints) const;
  Prefix const* prefixOf(Store store, std::string_view key) const;

  Separators separators_;
  std::vector<Prefix> prefixes_;
  typename SetsOf<decltype(fieldTable)>::Type sets_;
};

}  // namespace Agent::Sonic
