// simdjson's source is compiled for processors with AVX2, since the part of it that reads on demand chooses its
// instructions when it is compiled. So it includes no header of velmora.
#ifndef VELMORA_BENCH_PEER_SIMDJSON_H
#define VELMORA_BENCH_PEER_SIMDJSON_H

#include <cstddef>

#include "contents.h"

namespace bench {

// Whether the processor has what that source is compiled for.
bool hasSimdjson();

template <Mode mode, class Seen>
void readSimdjson(Block& block, Seen& seen);

bool validateSimdjson(const char* text, std::size_t size);

}  // namespace bench

#endif
