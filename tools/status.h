// The exit statuses of the tool.
#ifndef VELMORA_TOOLS_STATUS_H
#define VELMORA_TOOLS_STATUS_H

namespace tool {

// A greater one is worse: several files end in the worst of their statuses.
enum Status {
    kDone = 0,
    kBadInput = 1,  // what was read is not what it should be
    kFailed = 2     // wrong usage, or reading or writing failed
};

}  // namespace tool

#endif
