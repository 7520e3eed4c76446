#include "PayloadShapes.h"

#include "DaemonTypes.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QMap>

#include <tuple>
#include <typeinfo>

namespace bt { namespace {

/// A D-Bus structure of any fields. The number keeps Qt from taking it for a container.
template <int Number, typename... Types>
struct Fields
{
    std::tuple<Types...> values;
};

template <typename... Types>
using Structure = Fields<0, Types...>;

template <int Number, typename... Types>
QDBusArgument& operator<<(QDBusArgument& argument, const Fields<Number, Types...>& fields)
{
    argument.beginStructure();
    std::apply([&argument](const Types&... value) { (argument << ... << value); }, fields.values);
    argument.endStructure();
    return argument;
}

template <int Number, typename... Types>
const QDBusArgument& operator>>(const QDBusArgument& argument, Fields<Number, Types...>& /*fields*/)
{
    return argument; // these are sent only
}

}} // namespace bt

/// What Q_DECLARE_METATYPE would say for each of them.
template <typename... Types>
struct QMetaTypeId<bt::Structure<Types...>>
{
    enum { Defined = 1 };
    static int qt_metatype_id() // NOLINT(readability-identifier-naming): the name is Qt's
    {
        using Type = bt::Structure<Types...>;
        // As the macro does: this address says that nobody else has registered the type.
        // NOLINTNEXTLINE(performance-no-int-to-ptr): it is no address, but Qt wants it as one
        auto* const nobody = reinterpret_cast<Type*>(quintptr(-1));
        static const int id =
            qRegisterNormalizedMetaType<Type>(QByteArray("Structure:") + typeid(Type).name(), nobody);
        return id;
    }
};

namespace bt {

namespace {

constexpr qulonglong SomeAddress = 0x0A0B0C0D0E0F;
constexpr int SomeNumber = -42;

QString someText()
{
    return QStringLiteral("x");
}

template <typename Type>
void add(QMap<QString, QVariant>& shapes, const Type& value)
{
    qDBusRegisterMetaType<Type>();
    shapes.insert(QLatin1String(QDBusMetaType::typeToSignature(qMetaTypeId<Type>())),
                  QVariant::fromValue(value));
}

template <typename... Types>
void addStructures(QMap<QString, QVariant>& shapes, const Types&... values)
{
    const Structure<Types...> fields{ { values... } };
    add(shapes, fields);
    add(shapes, QList<Structure<Types...>>{ fields, fields });
}

QMap<QString, QVariant> makeShapes()
{
    QMap<QString, QVariant> shapes;
    const auto basic = [&shapes](const char* signature, const QVariant& value) {
        shapes.insert(QLatin1String(signature), value);
    };
    basic("b", true);
    basic("i", SomeNumber);
    basic("t", SomeAddress);
    basic("d", 0.5);
    basic("s", someText());
    basic("as", QStringList{ someText(), someText() });
    basic("ay", QByteArray("xy"));
    basic("av", QVariantList{ SomeNumber, someText() });
    basic("a{sv}", QVariantMap{ { someText(), SomeNumber } });
    basic("v", QVariant::fromValue(QDBusVariant(SomeNumber)));
    add(shapes, QList<int>{ SomeNumber, SomeNumber });
    add(shapes, QList<qulonglong>{ SomeAddress });
    add(shapes, QList<QStringList>{ { someText() }, {} });
    add(shapes, QMap<QString, int>{ { someText(), SomeNumber } });
    addStructures(shapes, SomeAddress);
    addStructures(shapes, SomeAddress, SomeNumber);
    addStructures(shapes, SomeAddress, someText());
    addStructures(shapes, SomeAddress, SomeNumber, someText());
    addStructures(shapes, SomeAddress, someText(), SomeNumber);
    addStructures(shapes, someText(), someText(), someText());
    addStructures(shapes, SomeAddress, SomeNumber, someText(), someText());
    return shapes;
}

const QMap<QString, QVariant>& shapes()
{
    static const QMap<QString, QVariant> all = makeShapes();
    return all;
}

} // namespace

QStringList payloadShapes()
{
    return shapes().keys();
}

QVariant payloadOfShape(const QString& signature)
{
    return shapes().value(signature);
}

} // namespace bt
