#pragma once

#include "Result.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace recording {

/// Whether a text is the signature of one D-Bus type whose values can be sent, by the rules of libdbus. File
/// descriptors, which mean nothing to another process, are left out.
[[nodiscard]] base::Result<> checkSignature(const QByteArray& signature);

/// Whether it is a list of D-Bus types, none as well, which a value of the type "g" has to be.
[[nodiscard]] bool isSignatureList(const QByteArray& types);

/// The types within a valid array, structure or a dictionary: one, those of the fields, or key and value.
[[nodiscard]] QList<QByteArray> partTypes(const QByteArray& signature);

[[nodiscard]] inline bool isDictionary(const QByteArray& signature)
{
    return signature.startsWith("a{");
}

/// Whether it is the name of a signal or property, as D-Bus has them.
[[nodiscard]] bool isMemberName(const QString& name);
[[nodiscard]] bool isObjectPath(const QString& path);

} // namespace recording
