#include "Shrink.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <sstream>
#include <utility>

namespace Harness {

namespace {

// Tries the sequence without each chunk of some length; tells whether any could go.
bool dropChunks(Sequence& sequence, std::size_t length,
                std::function<bool(Sequence const&)> const& fails) {
  bool dropped = false;
  for (std::size_t end = sequence.operations.size(); end > 0;) {
    std::size_t const begin = end > length ? end - length : 0;
    Sequence shorter = sequence;
    shorter.operations.erase(shorter.operations.begin() + static_cast<std::ptrdiff_t>(begin),
                             shorter.operations.begin() + static_cast<std::ptrdiff_t>(end));
    if (fails(shorter)) {
      sequence = std::move(shorter);
      dropped = true;
    }
    end = begin;
  }
  return dropped;
}

[[noreturn]] void runAsChild(Sequence const& sequence, int output) {
  signal(SIGABRT, SIG_DFL);
  signal(SIGSEGV, SIG_DFL);
  dup2(output, STDERR_FILENO);
  std::string const text = run(sequence);
  if (!text.empty() && write(output, text.data(), text.size()) < 0) {
    _exit(2);
  }
  _exit(text.empty() ? 0 : 1);
}

std::string readAll(int input) {
  std::string text;
  std::array<char, 4096> buffer{};
  for (ssize_t size = 0; (size = read(input, buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  return text;
}

}  // namespace

Sequence shorten(Sequence sequence, std::function<bool(Sequence const&)> const& fails) {
  for (std::size_t length = sequence.operations.size() / 2; length > 1; length /= 2) {
    dropChunks(sequence, length, fails);
  }
  while (dropChunks(sequence, 1, fails)) {
  }
  return sequence;
}

std::string runApart(Sequence const& sequence) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) {
    return "no pipe";
  }
  std::fflush(nullptr);
  pid_t const child = fork();
  if (child == 0) {
    runAsChild(sequence, ends[1]);
  }
  close(ends[1]);
  std::string text = readAll(ends[0]);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) {
    text = "  the process ends by signal " + std::to_string(WTERMSIG(status)) + ":\n" + text;
  }
  return status == 0 ? "" : text.empty() ? "  the process ends\n" : text;
}

std::string report(Sequence const& failing) {
  Sequence const shortest =
      shorten(failing, [](Sequence const& sequence) { return !runApart(sequence).empty(); });
  std::ostringstream out;
  out << "shortened from " << failing.operations.size() << " steps to "
      << shortest.operations.size() << ":\n";
  int number = 0;
  for (Model::Operation const& operation : shortest.operations) {
    out << "  " << ++number << ". " << describe(operation) << '\n';
  }
  out << "then drop everything, order " << shortest.dropOrder << "\nwhat it shows:\n"
      << runApart(shortest);
  return out.str();
}

}  // namespace Harness
