// Compiled for machines that have AVX2, where the compiler can. All code that it includes is a template over Avx2Block
// or has internal linkage: another source must never be linked with a function that was compiled here.
#include <velmora/text/functions_of.h>

namespace velmora::detail {

#ifdef __AVX2__
constinit const TextFunctions* const avx2TextFunctions = &kTextFunctionsOf<Avx2Block>;
#else
constinit const TextFunctions* const avx2TextFunctions = nullptr;
#endif

}  // namespace velmora::detail
