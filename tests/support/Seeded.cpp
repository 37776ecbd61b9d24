#include "support/Seeded.h"

namespace orlinths {
namespace {

std::uint64_t Fnv1a(const std::string& text) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
  return hash;
}

}  // namespace

Seeded::Seeded(const std::string& name)
    : engine_(Fnv1a(name)), trace_(__FILE__, __LINE__, "seeded by the name \"" + name + "\"") {}

double Seeded::Real(double low, double high) {
  constexpr double kUnit = 1.0 / 9007199254740992.0;  // 2^-53
  return low + (high - low) * (static_cast<double>(engine_() >> 11) * kUnit);
}

std::int64_t Seeded::Whole(std::int64_t low, std::int64_t high) {
  // Unsigned, since the distance of the two may lie beyond the signed type; 0 stands for 2^64.
  const std::uint64_t span = static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low) + 1;
  const std::uint64_t drawn = span == 0 ? engine_() : engine_() % span;
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(low) + drawn);
}

}  // namespace orlinths
