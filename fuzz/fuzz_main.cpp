// One libFuzzer target; CORVANE_FUZZ_CHECK names the check it runs.
#include <cstddef>
#include <cstdint>

#include "fuzz/checks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    CORVANE_FUZZ_CHECK(data, size);
    return 0;
}
