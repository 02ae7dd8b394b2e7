#pragma once

namespace hdi {

// Those of the descriptors 0 to 2 that the caller left closed refer to something from here on that can neither be read
// nor written. Else the next thing opened gets such a number: what is meant for standard output would end in it, and
// the daemon, which gives these three up, would give that up. Call first of all, while the process has one thread.
void fillStandardDescriptors();

} // namespace hdi
