#include "agent/program/Sonic.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/host/Diagnostics.h"
#include "agent/host/Fatal.h"
#include "agent/host/ServiceManager.h"
#include "agent/program/ReadersBrake.h"
#include "agent/program/Run.h"
#include "agent/sources/sonic/Mapping.h"

namespace Agent {

namespace {

using Sonic::RowRead;
using Sonic::Store;

Sonic::Separators separatorsOf(Sonic::DatabaseConfig const& databases) {
  return {databases.layout(Store::application).separator,
          databases.layout(Store::configuration).separator,
          databases.layout(Store::state).separator};
}

class SonicFollower final : public Sonic::RowListener {
 public:
  SonicFollower(Run& run, SonicFollowing const& following)
      : run_(run),
        following_(following),
        address_(following.redis.address.text()),
        mapping_(separatorsOf(following.redis.databases)),
        service_(run.loop()),
        source_(run.loop(), following.redis, *this) {
    constexpr std::chrono::seconds patience{2};
    run_.readersPatienceIs(patience);
    run_.output().readerIsWatched();
  }

  ~SonicFollower() override {
    run_.session().keeperGoes(address_ + ": the agent is shutting down");
  }

  void follow() {
    run_.session().keeperIs([this](Session::Wish const& wish, Session::Written written) {
      keep(wish, std::move(written));
    });
    run_.wait();
    ServiceManager::stopping();
    if (!hasBegun_) {
      run_.unseen(address_ + ": the databases were not read, nothing is mirrored");
    }
  }

  bool isMapped(Store store, std::string_view key) const override {
    return mapping_.isMapped(store, key);
  }
  std::string pattern(Store store) const override { return mapping_.pattern(store); }

  void scanned(std::vector<RowRead> rows) override {
    if (std::exchange(isLost_, false)) {
      Diagnostics::notice(address_ + ": the databases are read again");
    }
    mapping_.scanned(rows);
    apply();
  }
  void changed(std::vector<RowRead> rows) override {
    mapping_.changed(rows);
    apply();
  }
  void lost(std::string const& reason) override {
    if (!std::exchange(isLost_, true)) {
      Diagnostics::error(reason);
    }
    service_.working(reason);
    seenOnce();
  }
  void remark(std::string const& text) override {
    if (!following_.isOnce) {
      Diagnostics::error(text);
    }
  }

 private:
  void apply() {
    for (std::string const& complaint : mapping_.takeComplaints()) {
      Diagnostics::error(complaint);
    }
    if (!brake_.isRead(run_.output())) {
      constexpr std::chrono::seconds betweenLooks{1};
      service_.working("Waiting for the reader of standard output");
      later_ = run_.loop().after(betweenLooks, [this] { apply(); });
      return;
    }
    later_.drop();
    if (!hasBegun_) {
      run_.session().start();
      hasBegun_ = true;
    }
    applyingIs(address_, 0);
    run_.session().apply(mapping_.differences(run_.session().database().sources()));
    applyingIs("", 0);
    if (following_.seen) {
      following_.seen(run_);
    }
    seenOnce();
    if (!isLost_) {
      service_.working("Following " + address_);
    }
  }

  void seenOnce() {
    if (following_.isOnce) {
      run_.done();
    }
  }

  // What is written comes back as any change of the rows does.
  void keep(Session::Wish const& wish, Session::Written written) {
    source_.write(
        [this, wish] { return mapping_.writesOfDisabledVlans(wish(mapping_.disabledVlans())); },
        [written = std::move(written)](std::string const& refusal) {
          written(refusal.empty() ? std::nullopt : std::optional(refusal));
        });
  }

  Run& run_;
  SonicFollowing const& following_;
  std::string address_;
  Sonic::Mapping mapping_;
  ServiceManager service_;
  ReadersBrake brake_;
  bool hasBegun_ = false;
  bool isLost_ = false;
  Loop::Registration later_;
  Sonic::RedisSource source_;
};

}  // namespace

int followSonic(Settings settings, SonicFollowing const& following) {
  settings.manualStart = true;  // by the first scan
  return Run(settings).execute([&following](Run& run) { SonicFollower(run, following).follow(); });
}

}  // namespace Agent
