#pragma once

#include <QDBusConnection>
#include <QObject>

namespace base {

/// Tells when a bus has gone, which a connection never recovers from: Qt does not connect anew.
class BusLoss : public QObject
{
    Q_OBJECT
public:
    explicit BusLoss(const QDBusConnection& bus, QObject* parent = nullptr);

Q_SIGNALS:
    void lost();
};

} // namespace base
