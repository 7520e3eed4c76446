#include "Container.h"

#include "Signature.h"

#include <QDBusArgument>
#include <QDBusMetaType>

#include <new>

namespace recording {

namespace {

/// QtDBus knows a signature by the Qt type alone, so that this stands behind one type for each.
struct Container
{
    QByteArray signature;
    QVariantList parts;
};

/// Of the types' names; the signature follows.
const QByteArray TypePrefix = QByteArrayLiteral("recording::Container:");

void destroy(int /*type*/, void* container)
{
    static_cast<Container*>(container)->~Container();
}

void* construct(int type, void* place, const void* original)
{
    return original != nullptr
        ? new (place) Container(*static_cast<const Container*>(original))
        : new (place) Container{ QByteArray(QMetaType::typeName(type)).mid(TypePrefix.size()), {} };
}

void marshall(QDBusArgument& argument, const void* value);

void demarshall(const QDBusArgument& /*argument*/, void* /*value*/)
{
    // these are sent only
}

/// The Qt type for values of a valid signature.
int valueType(const QByteArray& signature)
{
    if (signature.size() == 1 || signature == "as" || signature == "ay") {
        return QDBusMetaType::signatureToType(signature);
    }
    const QByteArray name = TypePrefix + signature;
    if (const int known = QMetaType::type(name); known != QMetaType::UnknownType) {
        return known;
    }
    const int type = QMetaType::registerNormalizedType(
        name, destroy, construct, int{ sizeof(Container) },
        QMetaType::NeedsConstruction | QMetaType::NeedsDestruction, nullptr);
    QDBusMetaType::registerMarshallOperators(type, marshall, demarshall);
    return type;
}

// QtDBus learns the signature of a type by marshalling a value that it makes itself, which has no parts. A
// structure then needs its fields; everything else tells its signature without.
void marshall(QDBusArgument& argument, const void* value)
{
    const auto& [signature, parts] = *static_cast<const Container*>(value);
    const QList<QByteArray> types = partTypes(signature);
    if (isDictionary(signature)) {
        argument.beginMap(valueType(types.first()), valueType(types.last()));
        for (int i = 0; i + 1 < parts.size(); i += 2) {
            argument.beginMapEntry();
            argument.appendVariant(parts.at(i));
            argument.appendVariant(parts.at(i + 1));
            argument.endMapEntry();
        }
        argument.endMap();
    } else if (signature.startsWith('a')) {
        argument.beginArray(valueType(types.first()));
        for (const QVariant& part : parts) {
            argument.appendVariant(part);
        }
        argument.endArray();
    } else {
        argument.beginStructure();
        for (int i = 0; i < types.size(); ++i) {
            argument.appendVariant(parts.isEmpty() ? QVariant(valueType(types.at(i)), nullptr) : parts.at(i));
        }
        argument.endStructure();
    }
}

} // namespace

QVariant containerValue(const QByteArray& signature, const QVariantList& parts)
{
    if (signature == "as") {
        return QVariant(parts).toStringList();
    }
    if (signature == "ay") {
        QByteArray bytes;
        for (const QVariant& part : parts) {
            bytes.append(static_cast<char>(part.value<uchar>()));
        }
        return bytes;
    }
    const Container container{ signature, parts };
    return { valueType(signature), &container };
}

} // namespace recording
