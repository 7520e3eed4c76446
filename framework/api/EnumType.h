#pragma once

#include "IpcExport.h"

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QVector>

/// One value of an enumeration as clients meet it.
struct EnumValue
{
    QString label; ///< what a person reads: "On"
    QString symbol; ///< what a program or an expression names: "BLUETOOTHSTATUS_ON"
    int value = 0; ///< what is stored and sent
};

Q_DECLARE_METATYPE(EnumValue)

/// The values that an enumeration item may take. A module fills one and hands it to
/// ServerModule::addEnumResult(), which copies what it needs: a temporary is enough.
class IPC_EXPORT EnumType : public QObject
{
    Q_OBJECT
public:
    explicit EnumType(const QString& name, QObject* parent = nullptr);
    ~EnumType() override;

    /// Appends a value; the order of the calls is the order in which clients list the values.
    void add(const QString& label, const QString& symbol, int value);

    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] const QVector<EnumValue>& values() const { return m_values; }

private:
    QString m_name;
    QVector<EnumValue> m_values;
};
