#include "Compound.h"

#include "Signature.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>

#include <new>

namespace recording {

namespace {

/// One class stands behind a Qt type for each signature: QtDBus knows a signature by the type alone.
struct Compound
{
    QByteArray signature;
    QVariantList parts;
};

/// QtDBus learns the signature of a type by marshalling a value that it makes itself, and only once; this
/// says which type that is for.
thread_local QByteArray
    signatureToLearn; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): see above

/// All others are of Qt's and QtDBus's own types, which are all that it takes for these.
bool isCompound(const QByteArray& signature)
{
    return signature.size() > 1 && signature != "as" && signature != "ay";
}

/// What tells its signature: a structure needs its fields, everything else needs no parts.
Compound example(const QByteArray& signature)
{
    Compound compound{ signature, {} };
    if (signature.startsWith('(')) {
        for (const QByteArray& field : partTypes(signature)) {
            const Compound inner = isCompound(field) ? example(field) : Compound();
            compound.parts << (isCompound(field) ? QVariant(valueType(field), &inner)
                                                 : QVariant(valueType(field), nullptr));
        }
    }
    return compound;
}

void destroy(void* compound)
{
    static_cast<Compound*>(compound)->~Compound();
}

void* construct(void* place, const void* original)
{
    return original != nullptr ? new (place) Compound(*static_cast<const Compound*>(original))
                               : new (place) Compound(example(signatureToLearn));
}

void marshall(QDBusArgument& argument, const void* value)
{
    const auto& compound = *static_cast<const Compound*>(value);
    const auto appendParts = [&] {
        for (const QVariant& part : compound.parts) {
            argument.appendVariant(part);
        }
    };
    const QList<QByteArray> types = partTypes(compound.signature);
    if (isDictionary(compound.signature)) {
        argument.beginMap(valueType(types.first()), valueType(types.last()));
        for (int i = 0; i + 1 < compound.parts.size(); i += 2) {
            argument.beginMapEntry();
            argument.appendVariant(compound.parts.at(i));
            argument.appendVariant(compound.parts.at(i + 1));
            argument.endMapEntry();
        }
        argument.endMap();
    } else if (compound.signature.startsWith('a')) {
        argument.beginArray(valueType(types.first()));
        appendParts();
        argument.endArray();
    } else {
        argument.beginStructure();
        appendParts();
        argument.endStructure();
    }
}

void demarshall(const QDBusArgument& /*argument*/, void* /*value*/)
{
    // these are sent only
}

int registerCompound(const QByteArray& name, const QByteArray& signature)
{
    for (const QByteArray& part : partTypes(signature)) {
        static_cast<void>(valueType(part)); // so that QtDBus knows it when it comes to it
    }
    const int type = QMetaType::registerNormalizedType(
        name, destroy, construct, int{ sizeof(Compound) },
        QMetaType::NeedsConstruction | QMetaType::NeedsDestruction, nullptr);
    QDBusMetaType::registerMarshallOperators(type, marshall, demarshall);
    signatureToLearn = signature;
    QDBusMetaType::typeToSignature(type);
    return type;
}

} // namespace

int valueType(const QByteArray& signature)
{
    switch (signature.at(0)) {
    case 'y':
        return QMetaType::UChar;
    case 'b':
        return QMetaType::Bool;
    case 'n':
        return QMetaType::Short;
    case 'q':
        return QMetaType::UShort;
    case 'i':
        return QMetaType::Int;
    case 'u':
        return QMetaType::UInt;
    case 'x':
        return QMetaType::LongLong;
    case 't':
        return QMetaType::ULongLong;
    case 'd':
        return QMetaType::Double;
    case 's':
        return QMetaType::QString;
    case 'o':
        return qMetaTypeId<QDBusObjectPath>();
    case 'g':
        return qMetaTypeId<QDBusSignature>();
    case 'v':
        return qMetaTypeId<QDBusVariant>();
    default:
        break;
    }
    if (signature == "as") {
        return QMetaType::QStringList;
    }
    if (signature == "ay") {
        return QMetaType::QByteArray;
    }
    const QByteArray name = "recording::Compound:" + signature;
    const int known = QMetaType::type(name);
    return known != QMetaType::UnknownType ? known : registerCompound(name, signature);
}

QVariant compoundValue(const QByteArray& signature, const QVariantList& parts)
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
    const Compound compound{ signature, parts };
    return { valueType(signature), &compound };
}

} // namespace recording
