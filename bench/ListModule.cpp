#include "ListModule.h"

#include "bus/ItemRecord.h"
#include "bus/Names.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QEventLoop>
#include <QTimer>

namespace {

constexpr int Rows = 32;
constexpr int ChangedRow = 5;
const QString Usable =
    QStringLiteral("((res.status.value == res.status.enums.eBLUETOOTHSTATUS_ON) && (cfg.enabled.value)"
                   " && (res.pairlistAddr_%1.value != \"\") && (res.pairlistAddr_%1.value != \"0\")"
                   " && (res.pairlistAddr_%1.value != 0))");

QString address(int row, int generation)
{
    return QStringLiteral("00:11:22:33:%1:%2").arg(generation % 90 + 10).arg(row + 10);
}

QString name(int row, int generation)
{
    return QStringLiteral("Headset %1 of room %2").arg(row).arg(generation);
}

} // namespace

ListModule::ListModule(int others, bool withExpressions)
    : RegistrationModule(QStringLiteral("list"), nullptr)
{
    addConfig(QStringLiteral("enabled"), QStringLiteral("Enabled"), true, EMPTYQS, 1);
    EnumType status(QStringLiteral("eStatus"), nullptr);
    status.add(QStringLiteral("Off"), QStringLiteral("BLUETOOTHSTATUS_OFF"), 1);
    status.add(QStringLiteral("On"), QStringLiteral("BLUETOOTHSTATUS_ON"), 3);
    addEnumResult(QStringLiteral("status"), QStringLiteral("Status"), 3, status, EMPTYQS, 1);
    QStringList usable;
    for (int row = 0; row < Rows; ++row) {
        usable << Usable.arg(row);
    }
    for (const char* id : { "pairlistAddr", "pairlistName" }) {
        addStringResult(QLatin1String(id), QStringLiteral("Text"), EMPTYQS, concatForInstances(usable), Rows,
                        EMPTYQS);
    }
    EnumType state(QStringLiteral("eConnection"), nullptr);
    state.add(QStringLiteral("Not Connected"), QStringLiteral("NOT_CONNECTED"), 0);
    state.add(QStringLiteral("Connected"), QStringLiteral("CONNECTED"), 1);
    addEnumResult(QStringLiteral("pairlistConnectionState"), QStringLiteral("Connection State"), 0, state,
                  concatForInstances(usable), Rows);
    addBoolResult(QStringLiteral("isAnyDeviceConnected"), QStringLiteral("Any"), false, EMPTYQS, 1, EMPTYQS);
    for (int i = 0; i < others; ++i) {
        addStringResult(
            QStringLiteral("other%1").arg(i), QStringLiteral("One of Many"), QStringLiteral("value"),
            withExpressions ? Usable.arg(i % Rows) + QStringLiteral(" || %1").arg(i) : EMPTYQS, 1, EMPTYQS);
    }
    AddActionStringParam(QStringLiteral("update"), QStringLiteral("Update the List"),
                         [this](const std::string& request) { return update(request); });
}

std::string ListModule::update(const std::string& request)
{
    const QString text = QString::fromStdString(request);
    const QString kind = text.section(QLatin1Char(' '), 0, 0);
    int left = text.section(QLatin1Char(' '), 1).toInt();
    QEventLoop loop;
    QTimer turns;
    connect(&turns, &QTimer::timeout, this, [&] {
        if (left-- > 0) {
            updateOnce(kind);
        } else {
            loop.quit();
        }
    });
    turns.start(0);
    loop.exec();
    return {};
}

void ListModule::updateOnce(const QString& kind)
{
    if (kind != QLatin1String("same")) {
        ++m_generation;
    }
    if (kind == QLatin1String("separate")) {
        sendSeparately();
        return;
    }
    for (int row = 0; row < Rows; ++row) {
        writeRow(row, kind == QLatin1String("all") || row == ChangedRow ? m_generation : 0);
    }
    setResult(QStringLiteral("isAnyDeviceConnected"), kind == QLatin1String("all") && m_generation % 2 == 0,
              true);
}

void ListModule::writeRow(int row, int generation)
{
    setResult(QStringLiteral("pairlistAddr:%1").arg(row), address(row, generation), true);
    setResult(QStringLiteral("pairlistName:%1").arg(row), name(row, generation), true);
    setResult(QStringLiteral("pairlistConnectionState:%1").arg(row), QString::number(generation % 2), true);
}

void ListModule::sendSeparately()
{
    const auto send = [this](const QString& id, const QVariant& value, const QString& text) {
        QVariantMap properties{ { QStringLiteral("value"), value } };
        if (!text.isEmpty()) {
            properties.insert(QStringLiteral("text"), text);
        }
        QDBusMessage signal = QDBusMessage::createSignal(ipc::names::ObjectPath, ipc::names::Interface,
                                                         QStringLiteral("Changed"));
        signal << qulonglong(m_generation)
               << QVariant::fromValue(
                      ipc::ItemRecords{ { QStringLiteral(":result:bench:list:%1:").arg(id), properties } });
        QDBusConnection::sessionBus().send(signal);
    };
    for (int row = 0; row < Rows; ++row) {
        send(QStringLiteral("pairlistAddr:%1").arg(row), address(row, m_generation), {});
        send(QStringLiteral("pairlistName:%1").arg(row), name(row, m_generation), {});
        send(QStringLiteral("pairlistConnectionState:%1").arg(row), m_generation % 2,
             m_generation % 2 != 0 ? QStringLiteral("Connected") : QStringLiteral("Not Connected"));
    }
    send(QStringLiteral("isAnyDeviceConnected"), m_generation % 2 == 0, {});
}
