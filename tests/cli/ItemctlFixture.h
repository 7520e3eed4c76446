#pragma once

#include "support/DemoServers.h"
#include "support/Programs.h"

/// A private session bus with servers of demonstration items, and itemctl on it.
class ItemctlFixture : public QObject
{
    Q_OBJECT
protected Q_SLOTS:
    /// The bus, and the server "demo" with the module "mod".
    void initTestCase();

protected:
    /// Runs itemctl to its end.
    static Finished itemctl(const QStringList& arguments) { return run(ITEMCTL, arguments); }
    /// The same, and fails the test when itemctl fails.
    static void succeed(const QStringList& arguments);
    /// For a row of "arguments", "status", "out" and what "err" contains, empty when it is to be.
    static void tellsAsTheRowSays();
    /// Starts itemctl and leaves it running.
    static std::unique_ptr<QProcess> startItemctl(const QStringList& arguments);
    /// The same, and returns when the server watches for it; null when it never does.
    static std::unique_ptr<QProcess> startWatching(const QStringList& arguments);
    /// Waits for the end of what was started, with signals and connections of this process going on.
    static Finished finish(QProcess& process);
    /// How many clients the servers watch items for. The bus knows: a server asks to be told of their end.
    static int watchers() { return rules(",arg2=''"); }
    /// How many of the bus's match rules contain this.
    static int rules(const QString& part);

    DemoServers m_servers;
};
