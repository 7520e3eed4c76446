#include "Signature.h"

#include <dbus/dbus.h>

#include <memory>

namespace recording {

namespace {

/// What libdbus takes ends at a zero byte.
template <typename Check>
bool holds(const QByteArray& text, Check&& check)
{
    return !text.contains('\0') && check(text.constData(), nullptr) != 0;
}

/// The types at an iterator, one after the other.
QList<QByteArray> typesAt(DBusSignatureIter& types)
{
    QList<QByteArray> split;
    do {
        const std::unique_ptr<char, decltype(&dbus_free)> type(dbus_signature_iter_get_signature(&types),
                                                               dbus_free);
        split << QByteArray(type.get());
    } while (dbus_signature_iter_next(&types) != 0);
    return split;
}

} // namespace

base::Result<> checkSignature(const QByteArray& signature)
{
    if (signature.contains('\0')) {
        return base::error(QStringLiteral("it has the character 0"));
    }
    DBusError wrong;
    dbus_error_init(&wrong);
    if (dbus_signature_validate_single(signature.constData(), &wrong) == 0) {
        const QString text = QString::fromUtf8(wrong.message);
        dbus_error_free(&wrong);
        return base::error(text);
    }
    if (signature.contains('h')) {
        return base::error(QStringLiteral("h, a file descriptor, cannot be sent"));
    }
    return {};
}

bool isSignatureList(const QByteArray& types)
{
    return holds(types, dbus_signature_validate);
}

QList<QByteArray> partTypes(const QByteArray& signature)
{
    DBusSignatureIter whole;
    DBusSignatureIter parts;
    dbus_signature_iter_init(&whole, signature.constData());
    dbus_signature_iter_recurse(&whole, &parts);
    if (isDictionary(signature)) { // its one element is an entry, which has the two
        dbus_signature_iter_recurse(&parts, &whole);
        return typesAt(whole);
    }
    return typesAt(parts);
}

bool isMemberName(const QString& name)
{
    return holds(name.toUtf8(), dbus_validate_member);
}

bool isObjectPath(const QString& path)
{
    return holds(path.toUtf8(), dbus_validate_path);
}

} // namespace recording
