#pragma once

/// Decides what happens when this process writes to a socket or a pipe that nobody reads any more: the write
/// fails with EPIPE, and whoever wrote decides. Nothing is killed for it: neither by a client that the stop
/// hangs up on, nor by a standard error whose reader has gone. (A client that breaks off by itself ends the
/// service through the exception that this becomes.)
///
/// The libraries meddle with SIGPIPE too, one by blocking it, another by ignoring it, and programs that are
/// started would inherit either. Here it is caught and not blocked, so they start as from a shell. To be
/// called on the main thread when the libraries are loaded and before it starts threads.
void makeBrokenPipesErrors();
