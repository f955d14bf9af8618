/// \file
/// What a random access to memory takes: memory_probe MEGABYTES prints the nanoseconds of processor
/// time of one that waits for the one before (`dependent`) and of one that does not
/// (`independent`), over so much memory.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <utility>
#include <vector>

namespace {

/// A cache line that names the next one to look at.
struct alignas(64) Line {
  uint32_t next;
};

constexpr int accesses = 5000000;

template <class Access> double nanoseconds(Access access) {
  const std::clock_t start = std::clock();
  for (int i = 0; i < accesses; i++) access();
  return 1e9 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / accesses;
}

} // namespace

int main(int argc, char* argv[]) {
  const double megabytes = argc == 2 ? std::atof(argv[1]) : 0;
  if (!(megabytes >= 0.01 && megabytes <= 100000)) {
    std::fprintf(stderr, "usage: memory_probe MEGABYTES (0.01 to 100000)\n");
    return 2;
  }
  const auto count = static_cast<uint32_t>(megabytes * 1048576 / sizeof(Line));
  std::vector<Line> lines(count);
  for (uint32_t i = 0; i < count; i++) lines[i].next = i;
  std::mt19937 engine(1);
  for (uint32_t i = count - 1; i > 0; i--) // one cycle through all lines
    std::swap(lines[i].next, lines[engine() % i].next);

  uint32_t at = 0;
  const double dependent = nanoseconds([&] { at = lines[at].next; });
  uint32_t state = 1;
  uint32_t sum = 0;
  const double independent = nanoseconds([&] {
    state = state * 1664525 + 1013904223;
    sum += lines[static_cast<uint64_t>(state) * count >> 32].next;
  });
  std::fprintf(stderr, "c sums %u %u\n", at, sum); // so that the accesses are made
  std::printf("dependent=%.3f independent=%.3f\n", dependent, independent);
  return 0;
}
