#pragma once

/// The exit status, as scripts see it.
enum ExitStatus : int
{
    Done = 0,        ///< the reply begins with "DONE"; the drives were listed, the help shown
    NotDone = 1,     ///< any other reply, an empty one too; the drives could not be listed
    WrongUse = 2,    ///< the command line asks for nothing that could be sent
    Unreachable = 3, ///< no service took the request in time, or it went away before it had read it
};
