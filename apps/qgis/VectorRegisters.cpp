#include "qgis/VectorRegisters.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace orlinths {

#if defined(__x86_64__)
namespace {
__attribute__((target("avx"))) void ClearThem() { _mm256_zeroupper(); }
}  // namespace
#endif

void ClearUpperVectorRegisters() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx")) ClearThem();
#endif
}

}  // namespace orlinths
