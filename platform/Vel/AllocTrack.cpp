#include "Vel/AllocTrack.h"

namespace Vel {

namespace {

constinit AllocTrackTypeInfo* firstTracker = nullptr;

}  // namespace

AllocTrackTypeInfo::AllocTrackTypeInfo(std::string_view className) noexcept
    : className_(className), next_(firstTracker) {
  firstTracker = this;
}

AllocTrackTypeInfo::~AllocTrackTypeInfo() {
  AllocTrackTypeInfo** link = &firstTracker;
  while (*link != this) {
    link = &(*link)->next_;
  }
  *link = next_;
}

AllocTrackTypeInfo const* AllocTrackTypeInfo::first() noexcept {
  return firstTracker;
}

}  // namespace Vel
