#include "agent/views/gnmi/Snapshot.h"

#include <cstddef>
#include <iterator>
#include <utility>

namespace Agent::Gnmi {

namespace {

constexpr std::size_t largestBlock = 32;

struct KeyLess {
  bool operator()(EntryPtr const& entry, EntryKey const& key) const {
    return EntryKeyLess()(entry->key, key);
  }
};

// The block in which a key stands, or would; the first if it is before all.
template <class Iterator>
Iterator blockOf(Iterator begin, Iterator end, EntryKey const& key) {
  auto const behind =
      std::upper_bound(begin, end, key, [](EntryKey const& wanted, auto const& block) {
        return EntryKeyLess()(wanted, block->front()->key);
      });
  return behind == begin ? begin : std::prev(behind);
}

}  // namespace

// Makes the blocks of a node anew, from front to back.
class Snapshot::Replacement {
 public:
  explicit Replacement(Blocks const& before) : before_(before), rest_(before.begin()) {
    after_.reserve(before.size() + 1);
  }

  /// Keys rise from call to call.
  void change(ChangedEntry const& changed) {
    EntryKey const& key = changed.any().key;
    if (auto const block = blockOf(rest_, before_.end(), key); !isOpen_ || block != rest_) {
      close();
      after_.insert(after_.end(), rest_, block);
      rest_ = block;
      isOpen_ = true;
      position_ = 0;
    }
    copyUpTo(key);
    if (rest_ != before_.end() && position_ < std::ssize(**rest_) &&
        (**rest_)[position_]->key == key) {
      ++position_;
    }
    if (changed.after) {
      open_.push_back(changed.after);
    }
  }

  std::shared_ptr<Blocks const> take() {
    close();
    after_.insert(after_.end(), rest_, before_.end());
    return std::make_shared<Blocks const>(std::move(after_));
  }

 private:
  void copyUpTo(EntryKey const& key) {
    if (rest_ != before_.end()) {
      auto const from = (*rest_)->begin() + position_;
      auto const to = std::lower_bound(from, (*rest_)->end(), key, KeyLess());
      open_.insert(open_.end(), from, to);
      position_ = to - (*rest_)->begin();
    }
  }

  // Divides what the open block has become so that it has room to grow again.
  void close() {
    if (!isOpen_) {
      return;
    }
    if (rest_ != before_.end()) {
      open_.insert(open_.end(), (*rest_)->begin() + position_, (*rest_)->end());
      ++rest_;
    }
    std::size_t const size = open_.size() > largestBlock ? largestBlock / 2 : largestBlock;
    for (std::size_t at = 0; at < open_.size(); at += size) {
      auto const begin = open_.begin() + static_cast<std::ptrdiff_t>(at);
      auto const end = begin + static_cast<std::ptrdiff_t>(std::min(size, open_.size() - at));
      after_.push_back(std::make_shared<Entries const>(begin, end));
    }
    open_.clear();
  }

  Blocks const& before_;
  Blocks::const_iterator rest_;  // the open block, or the first that was not looked at
  Blocks after_;
  bool isOpen_ = false;
  Entries open_;
  std::ptrdiff_t position_ = 0;  // in the open block, of what was not copied
};

Snapshot::Snapshot() : nodes_(nodeRows().size(), std::make_shared<Blocks const>()) {
}

EntryPtr Snapshot::find(std::size_t node, EntryKey const& key) const {
  Blocks const& blocks = *nodes_[node];
  auto const block = blockOf(blocks.begin(), blocks.end(), key);
  if (block == blocks.end()) {
    return nullptr;
  }
  auto const found = std::lower_bound((*block)->begin(), (*block)->end(), key, KeyLess());
  return found != (*block)->end() && (*found)->key == key ? *found : nullptr;
}

std::vector<LeafRef> Snapshot::leaves(Selection const& selection) const {
  std::vector<LeafRef> leaves;
  visit(selection, [&](EntryPtr const& entry, RowSet const& rows) {
    for (LeafState const& leaf : entry->leaves) {
      if (rows[leaf.row]) {
        leaves.emplace_back(entry, leaf);
      }
    }
  });
  return leaves;
}

Snapshot Snapshot::with(ChangeSet const& changes) const {
  Snapshot next = *this;
  next.time_ = changes.time();
  auto change = changes.changed().begin();
  while (change != changes.changed().end()) {
    std::uint16_t const node = change->any().node;
    Replacement replacement(*nodes_[node]);
    for (; change != changes.changed().end() && change->any().node == node; ++change) {
      replacement.change(*change);
    }
    next.nodes_[node] = replacement.take();
  }
  return next;
}

Snapshot::Entries Snapshot::withPatterns(Selection const& selection, std::size_t node) const {
  Entries entries;
  for (auto const& [pattern, rows] : selection.byPattern()) {
    if ((rows & nodeRows()[node].rows).any()) {
      addWith(pattern, *nodes_[node], entries);
    }
  }
  auto const isLess = [](EntryPtr const& a, EntryPtr const& b) { return entryLess(*a, *b); };
  std::ranges::sort(entries, isLess);
  entries.erase(std::unique(entries.begin(), entries.end()), entries.end());
  return entries;
}

// Those with one key of the outermost list follow each other.
void Snapshot::addWith(EntryKey const& pattern, Blocks const& blocks, Entries& to) {
  bool const isFrom = isSaid(pattern.front());
  auto block = isFrom ? blockOf(blocks.begin(), blocks.end(), pattern) : blocks.begin();
  for (; block != blocks.end(); ++block) {
    Entries const& entries = **block;
    auto entry = isFrom ? std::lower_bound(entries.begin(), entries.end(), pattern, KeyLess())
                        : entries.begin();
    for (; entry != entries.end(); ++entry) {
      if (covers(pattern, (*entry)->key)) {
        to.push_back(*entry);
      } else if (isFrom && (*entry)->key.front() != pattern.front()) {
        return;
      }
    }
  }
}

}  // namespace Agent::Gnmi
