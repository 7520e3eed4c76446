#pragma once

#include <QStringList>

/// What this test program asked of the disk: its own fsync() and rename() stand before those of the C
/// library, note the call and hand it on.
struct SystemCalls
{
    /// "fsync NAME" and "rename NAME NAME" in order, without folders; six random characters as XXXXXX.
    static QStringList made;
    /// The errno that fsync() answers from here on, for files and for folders; 0 hands the calls on.
    static int fsyncError;
    static int folderError;
    /// The process kills itself where so many calls were made already and another one comes; below 0 it does
    /// not.
    static int killedAfter;
};
