/// \file
/// Builds without an LP library have no relaxation.
#include "Relaxation.h"

namespace estoc {

std::unique_ptr<Relaxation> makeRelaxation(int, const std::atomic<bool>&) {
  return nullptr;
}

const char* relaxationLibrary() {
  return nullptr;
}

} // namespace estoc
