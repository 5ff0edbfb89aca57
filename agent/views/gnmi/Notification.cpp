#include "agent/views/gnmi/Notification.h"

#include <type_traits>
#include <utility>

namespace Agent::Gnmi {

namespace {

// About how many bytes each takes as JSON, and never less.
constexpr std::size_t ofElement = 16;
constexpr std::size_t ofUpdate = 64;
constexpr std::size_t ofNumber = 22;

std::size_t escaped(std::string_view text) {
  return 2 * text.size() + 2;
}

struct SizeOf {
  std::size_t operator()(bool /*value*/) const { return ofNumber; }
  std::size_t operator()(std::uint64_t /*value*/) const { return ofNumber; }
  std::size_t operator()(std::string const& value) const { return escaped(value); }
  std::size_t operator()(Identity value) const { return escaped(value.name); }
  std::size_t operator()(std::vector<LeafEntry> const& entries) const {
    std::size_t size = 2;
    for (LeafEntry const& entry : entries) {
      size += 1 + std::visit(*this, entry);
    }
    return size;
  }
};

std::size_t pathSize(LeafRef const& leaf) {
  std::size_t size = ofUpdate;
  for (PathStep const& step : leaf.row().steps) {
    size += ofElement + step.name.size();
  }
  for (PlainKey const& key : leaf.key()) {
    auto const* const name = std::get_if<std::string>(&key);
    size += ofElement + (name == nullptr ? 0 : escaped(*name));
  }
  return size;
}

// Takes what fits into one notification at a time.
class Splitter {
 public:
  explicit Splitter(Nanoseconds time) { current_.time = time; }

  void add(LeafRef leaf) {
    makeRoom(pathSize(leaf));
    current_.deletes.push_back(std::move(leaf));
  }
  void add(Update update) {
    makeRoom(pathSize(update.leaf) + std::visit(SizeOf(), update.leaf.value()));
    current_.updates.push_back(std::move(update));
  }

  std::vector<Notification> take() {
    if (size_ > 0) {
      done_.push_back(std::move(current_));
    }
    return std::move(done_);
  }

 private:
  void makeRoom(std::size_t size) {
    if (size_ > 0 && size_ + size > largestNotification) {
      done_.push_back(std::exchange(current_, Notification{current_.time}));
      size_ = 0;
    }
    size_ += size;
  }

  Notification current_;
  std::size_t size_ = 0;
  std::vector<Notification> done_;
};

}  // namespace

std::vector<Notification> split(Notification notification) {
  Splitter splitter(notification.time);
  for (LeafRef& leaf : notification.deletes) {
    splitter.add(std::move(leaf));
  }
  for (Update& update : notification.updates) {
    splitter.add(std::move(update));
  }
  return splitter.take();
}

bool Filter::matches(ChangeSet const& changes) const {
  for (ChangedEntry const& entry : changes.changed()) {
    EntryKey const& key = entry.any().key;
    if ((updates_.rows(key) & entry.updates).any() || (deletes_.rows(key) & entry.deletes).any()) {
      return true;
    }
  }
  return false;
}

std::vector<Notification> Filter::notifications(ChangeSet const& changes) const {
  Notification whole{changes.time()};
  auto const each = [](EntryPtr const& entry, RowSet const& rows, auto const& add) {
    if (rows.none()) {
      return;
    }
    for (LeafState const& leaf : entry->leaves) {
      if (rows[leaf.row]) {
        add(LeafRef(entry, leaf));
      }
    }
  };
  for (ChangedEntry const& entry : changes.changed()) {
    EntryKey const& key = entry.any().key;
    each(entry.before, deletes_.rows(key) & entry.deletes,
         [&](LeafRef leaf) { whole.deletes.push_back(std::move(leaf)); });
    each(entry.after, updates_.rows(key) & entry.updates, [&](LeafRef leaf) {
      auto const skipped = entry.skipped.find(leaf.rowNumber());
      whole.updates.push_back(
          {std::move(leaf), skipped == entry.skipped.end() ? 0 : skipped->second});
    });
  }
  return split(std::move(whole));
}

}  // namespace Agent::Gnmi
