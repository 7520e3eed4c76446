#pragma once

#include "world/MessageBus.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

/// What a finished program left behind.
struct Finished
{
    int status = -1; ///< -1 when it did not end by itself
    QString out;
    QString err;
};

/// A private session bus with servers of demonstration items, and itemctl on it.
class ItemctlFixture
{
public:
    /// The bus, and the server "demo" with the module "mod". An error text; empty when all is there.
    QString start();
    void stop();

    /// Starts one more server, and waits for its bus name.
    [[nodiscard]] bool startServer(const QString& server, const QString& module);
    void endServer(const QString& server);

    /// Runs itemctl to its end.
    static Finished itemctl(const QStringList& arguments);
    /// Starts itemctl and leaves it running.
    static std::unique_ptr<QProcess> startItemctl(const QStringList& arguments);
    static Finished finish(QProcess& process);
    static QString itemctlPath();

    /// How many clients the servers watch items for. The bus knows: a server asks to be told of their end.
    static int watchers();

private:
    QTemporaryDir m_folder;
    world::MessageBus m_bus;
    QHash<QString, std::shared_ptr<QProcess>> m_servers;
};
