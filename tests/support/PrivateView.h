#pragma once

#include "PrivateFilesystem.h"

#include <QCoreApplication>

#include <cstdio>

/// main() of tests that run in a private view of the file system. 77, which counts as skipped, where none can
/// be had.
template <typename Body>
int runInPrivateView(const QString& controller, int argc, char** argv, const Body& body)
{
    world::PrivateFilesystem filesystem;
    // Before anything that may start a thread.
    const auto entered = filesystem.enter({ controller, {} }, argv);
    if (!entered) {
        std::fprintf(stderr, "%s\n", qPrintable(entered.error().text));
        return 77;
    }
    const QCoreApplication application(argc, argv);
    return body(filesystem);
}
