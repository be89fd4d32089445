// Internal run-time processor checks for the AVX-512 paths; not installed.
// x86-64 builds compile those paths for these instructions alone (target
// attributes), and each is taken only when the processor reports them and
// KIV_NO_AVX512 is not set to a non-empty value in the environment (which
// lets the tests run the portable paths on any processor).
#ifndef KIV_CPU_HPP
#define KIV_CPU_HPP

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>

#include <cstdlib>
#define KIV_AVX512_PATHS 1

__attribute__((visibility("hidden"))) inline bool kivAvx512Allowed() {
    const char* refused = std::getenv("KIV_NO_AVX512");
    return refused == nullptr || *refused == '\0';
}

// AVX-512 with byte permutes (BW and VBMI).
__attribute__((visibility("hidden"))) inline bool kivHasAvx512Vbmi() {
    static const bool has =
        kivAvx512Allowed() && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi");
    return has;
}

// AVX-512 with byte and word compression (BW and VBMI2).
__attribute__((visibility("hidden"))) inline bool kivHasAvx512Vbmi2() {
    static const bool has =
        kivAvx512Allowed() && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi2");
    return has;
}
#endif

#endif  // KIV_CPU_HPP
