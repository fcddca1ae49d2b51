#pragma once

/// The exit status of a program that a user or a script calls; the man pages say more.
enum ExitStatus : int
{
    Done = 0,        ///< also where there was nothing to do
    NotDone = 1,     ///< it was not done, or not as it was asked for
    WrongUse = 2,    ///< the command line asks for nothing that could be done
    Unreachable = 3, ///< nobody is there who would do it
};
