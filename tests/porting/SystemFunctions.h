#pragma once

#include <QByteArray>

#include <sys/types.h>

/// The system functions by which the module reaches beyond its process. The linker leads its calls here
/// (--wrap): they are written down beside those of the framework, and do nothing.
struct SystemFunctions
{
    /// While it is false they do what they always do: the buses of a test need them, too.
    static bool areRecorded;
    static QByteArray hostName; ///< what "hostname" prints
    static bool popenFails;
    static bool fopenFails;
    static int systemStatus;
    static pid_t forked; ///< what fork() gives; 0 goes the child's way
    static int unlinkError; ///< the errno that unlink() answers; 0 is none
};
