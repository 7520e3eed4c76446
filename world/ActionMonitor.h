#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

namespace world {

/// Overhears the actions that are called on the session bus, and writes a line about each that no radio
/// hears.
class ActionMonitor : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// @param notices takes the lines, and an empty one for each markEnd().
    ActionMonitor(const QString& sessionBusAddress, const QString& systemBusAddress, int notices);
    ~ActionMonitor() override;

    /// @return whether the bus lets us listen.
    [[nodiscard]] bool listen();
    void markEnd();

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    /// Takes everything, so that nobody gets an answer from us.
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void write(const QString& line) const;
    [[nodiscard]] bool radioIsThere() const;
    [[nodiscard]] QString whyNone() const;

    QDBusConnection m_overheard; ///< sends nothing: the bus would end it
    QDBusConnection m_session;
    QDBusConnection m_system;
    int m_notices;
};

} // namespace world
