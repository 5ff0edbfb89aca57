// The other side: a client of the OpenConfig entities learns of each change as it happens.
#include <iostream>

#include "Lumo/Publisher.h"
#include "Stp/GlobalMirrors.h"

namespace {

// Prints the bridge-wide configuration whenever it was written.
class Reader {
 public:
  explicit Reader(Lumo::Ptr<Stp::OCGlobalConfig> const& config) : config_(config) {
    slot_.routineIs(&changed, this);
    config_->publisher().subscriberAdd(slot_, /*notifyPresent=*/false);
  }
  Reader(Reader const&) = delete;
  Reader& operator=(Reader const&) = delete;
  ~Reader() { slot_.unsubscribeFrom(config_->publisher()); }  // a slot must be empty when it goes

 private:
  // It may do what it likes, drop the entity or the mirror included. What it must not do is throw:
  // the exception would reach whoever made the change.
  static void changed(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot,
                      Lumo::FieldId /*field*/, void const* /*old*/, void const* /*now*/) {
    Stp::OCGlobalConfigContainer const& config =
        static_cast<Reader*>(slot->owner())->config_->config();
    std::cout << "BPDU guard " << (config.bpduGuard ? "on" : "off") << ", disabled VLANs:";
    for (Stp::VlanIdOrRange const& entry : config.disabledVlan) {
      if (entry.tag() == Stp::VlanIdOrRange::Tag::vlanId) {
        std::cout << ' ' << entry.vlanId().value();
      } else {
        std::cout << ' ' << entry.vlanRange().first.value() << ".."
                  << entry.vlanRange().last.value();
      }
    }
    std::cout << '\n';
  }

  Lumo::Ptr<Stp::OCGlobalConfig> config_;
  Lumo::Subscriber slot_;
};

}  // namespace

int main() {
  auto const input = Lumo::make<Stp::Input::Config>();
  auto const config = Lumo::make<Stp::OCGlobalConfig>();
  auto const mirror = Stp::oCGlobalConfigSmFactory(input, config);
  Reader const reader(config);

  input->portfastBpduguardIs(true);
  input->portfastBpduguardIs(true);  // nothing changes, and nobody is told
  input->disabledVlanIs(10, true);
  input->disabledVlanIs(11, true);
  input->disabledVlanIs(20, true);
}
