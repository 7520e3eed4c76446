#pragma once

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QList>
#include <QString>
#include <QVariant>

#include <tuple>

/// Values for the bus of shapes that no proper daemon sends.
namespace payloads {

// A structure of any fields, to send what no proper daemon sends. The first parameter only keeps QtDBus from
// taking a row of one field for a container.
template <typename, typename... Fields>
struct Row
{
    std::tuple<Fields...> fields;
};

template <typename... Fields>
QDBusArgument& operator<<(QDBusArgument& argument, const Row<void, Fields...>& row)
{
    argument.beginStructure();
    std::apply([&argument](const auto&... field) { (argument << ... << field); }, row.fields);
    argument.endStructure();
    return argument;
}

template <typename... Fields>
const QDBusArgument& operator>>(const QDBusArgument& argument, Row<void, Fields...>& /*row*/)
{
    return argument; // only ever sent
}

using T = Row<void, qulonglong>;
using TI = Row<void, qulonglong, int>;
using TS = Row<void, qulonglong, QString>;
using TIS = Row<void, qulonglong, int, QString>;
using TSU = Row<void, qulonglong, QString, uint>;
using TSI = Row<void, qulonglong, QString, int>;
using TISU = Row<void, qulonglong, int, QString, uint>;
using XIS = Row<void, qlonglong, int, QString>;
using SSS = Row<void, QString, QString, QString>;
using NestedTIS = Row<void, TIS>;

/// A structure.
template <typename Element>
QVariant one(const Element& element)
{
    qDBusRegisterMetaType<Element>();
    return QVariant::fromValue(element);
}

/// An array.
template <typename Element>
QVariant list(const QList<Element>& elements)
{
    qDBusRegisterMetaType<Element>();
    qDBusRegisterMetaType<QList<Element>>();
    return QVariant::fromValue(elements);
}

} // namespace payloads

Q_DECLARE_METATYPE(payloads::T)
Q_DECLARE_METATYPE(payloads::TI)
Q_DECLARE_METATYPE(payloads::TS)
Q_DECLARE_METATYPE(payloads::TIS)
Q_DECLARE_METATYPE(payloads::TSU)
Q_DECLARE_METATYPE(payloads::TSI)
Q_DECLARE_METATYPE(payloads::TISU)
Q_DECLARE_METATYPE(payloads::XIS)
Q_DECLARE_METATYPE(payloads::SSS)
Q_DECLARE_METATYPE(payloads::NestedTIS)
