#pragma once

#include "support/Payloads.h"

#include <QDBusVariant>
#include <QHash>
#include <QVector>

/// Lists of other shapes than the daemon's: Qt and libdbus do not check what they are told to read.
namespace oddlists {

using Nesting = payloads::Row<void, qulonglong, int, QString, QList<payloads::TIS>>;

} // namespace oddlists

Q_DECLARE_METATYPE(oddlists::Nesting)

namespace oddlists {

/// @param shape a D-Bus signature, behind the number of elements where there are many
inline QVariant ofShape(const QString& shape)
{
    using namespace payloads;
    constexpr int Many = 10'000;
    const QString name = "n";
    const TIS scan{ { 7, -3, name } };
    const QHash<QString, QVariant> shapes{
        { "a(tis)", list<TIS>({ scan }) },
        { "a(tsu)", list<TSU>({ { { 7, name, 4 } } }) },
        { "10000(t)", list(QVector<T>(Many, { 7 }).toList()) },
        { "a(tisa(tis))", list<Nesting>({ { { 7, -3, name, { scan } } } }) },
        { "(tis)", one(scan) },
        { "10000s", QStringList(QVector<QString>(Many, name).toList()) },
        { "v", QVariant::fromValue(QDBusVariant(list<TIS>({ scan }))) },
    };
    return shapes[shape];
}

} // namespace oddlists
