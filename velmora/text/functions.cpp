#include <velmora/text/functions.h>

#include <velmora/text/functions_of.h>

#if defined(_MSC_VER) && defined(_M_X64)
#include <intrin.h>
#endif

namespace velmora::detail {

constinit TextFunctions textFunctions = kTextFunctionsOf<Block>;
constinit const TextFunctions portableTextFunctions = kTextFunctionsOf<PortableBlock>;
constinit const TextFunctions baseTextFunctions = kTextFunctionsOf<Block>;

bool hasAvx2() {
#if defined(__x86_64__)
    __builtin_cpu_init();  // other initialisers of the program may not have run yet
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
#elif defined(_MSC_VER) && defined(_M_X64)
    int leaf[4];
    __cpuid(leaf, 1);
    constexpr int kPopcnt = 1 << 23, kOsxsave = 1 << 27, kAvx = 1 << 28, kAvx2 = 1 << 5;
    if ((leaf[2] & kPopcnt) == 0 || (leaf[2] & kOsxsave) == 0 || (leaf[2] & kAvx) == 0) return false;
    constexpr unsigned kVectorState = 6;  // the system keeps both halves of the registers
    if ((_xgetbv(0) & kVectorState) != kVectorState) return false;
    __cpuidex(leaf, 7, 0);
    return (leaf[1] & kAvx2) != 0;
#else
    return false;
#endif
}

void chooseTextFunctions() { textFunctions = avx2TextFunctions && hasAvx2() ? *avx2TextFunctions : baseTextFunctions; }

}  // namespace velmora::detail
