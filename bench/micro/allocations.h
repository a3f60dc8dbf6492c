#pragma once

namespace bench {

/// How often this program has called operator new so far.
long allocations();

}  // namespace bench
