#pragma once

/// Opens /dev/null for each of the descriptors 0, 1 and 2 that the program was started without. Otherwise the
/// next file or socket would take its number: the log's copy on standard error would go into it, and the
/// programs that the service runs would inherit it. Never throws.
void completeStandardStreams();

/// Points descriptors 0, 1 and 2 at /dev/null: what goes on in the background holds no terminal and no pipe.
/// Never throws.
void detachStandardStreams();
