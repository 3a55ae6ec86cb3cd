// Whether something leaves a file open.
#ifndef VELMORA_TESTS_SUPPORT_DESCRIPTORS_H
#define VELMORA_TESTS_SUPPORT_DESCRIPTORS_H

namespace support {

// Open descriptors of the process; -1 where the system does not tell.
int openDescriptors();

}  // namespace support

#endif
