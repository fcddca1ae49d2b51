#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the run with what did not hold; the fuzzer then keeps the input.
inline void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}
