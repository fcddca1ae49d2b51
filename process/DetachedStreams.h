#pragma once

/// Points descriptors 0, 1 and 2 at /dev/null: what goes on in the background holds no terminal and no pipe.
/// Never throws.
void detachStandardStreams();
