// Seeing handlers at work: the text trace says what runs, the fast trace how long it took.
//
//   example-traced_handlers [FILE]     FILE is for `flashlog-dump FILE` to read
#include <iostream>
#include <memory>

#include "Flashlog/Flashlog.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/Module.h"

int main(int argc, char** argv) {
  auto const input = Lumo::make<Stp::Input::Config>();
  auto const config = Lumo::make<Stp::OCGlobalConfig>();
  auto const mirror = Stp::oCGlobalConfigSmFactory(input, config);

  // The text trace goes to standard error, one line a handler.
  Stp::_defaultTraceHandle().levelIs(8, true);

  // The fast trace costs two readings of the time-stamp counter a handler, and survives the
  // process.
  std::unique_ptr<Flashlog::FlashlogHandle> file;
  if (argc > 1) {
    file = std::make_unique<Flashlog::FlashlogHandle>(argv[1]);
    Flashlog::defaultFlashlogHandle = file.get();
  }

  input->modeIs(Stp::Mode::mstp);
  input->portfastBpduguardIs(true);

  Flashlog::defaultFlashlogHandle = nullptr;
  std::cout << "traced\n";
}
