#include <stdexcept>

#include "agent/program/GnmiTarget.h"

namespace Agent {

bool const hasGnmi = false;

std::unique_ptr<GnmiTarget> serveGnmi(GnmiSettings const& /*settings*/, Loop& /*loop*/,
                                      Session& /*session*/) {
  throw std::logic_error("built without gNMI");
}

}  // namespace Agent
