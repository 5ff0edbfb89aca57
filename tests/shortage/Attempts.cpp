#include "Attempts.h"

namespace Shortage {

std::vector<Attempt> attempts() {
  std::vector<Attempt> all = dataAttempts();
  for (auto&& part : {entityAttempts(), creationAttempts(), handlerAttempts()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

}  // namespace Shortage
