#pragma once

#include <QProcess>
#include <QStringList>

#include <utility>
#include <vector>

/// How a program ended, and what it said.
struct Finished
{
    int status = -1; ///< as a shell counts it; -1 when it did not end in time
    QString out;
    QString err;
};

/// How a program is run, where that is not as the test itself.
struct Run
{
    std::vector<std::pair<QString, QString>> environment;
    bool ordinaryUser = false; ///< as nobody; only root can
    QString folder; ///< empty is the current one
};

void start(QProcess& process, const QString& program, const QStringList& arguments, const Run& how);
/// Runs a program to its end.
Finished run(const QString& program, const QStringList& arguments, const Run& how = {});
/// Waits for the end of a program that runs.
Finished finish(QProcess& process);
