#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace bt {

/// What keeps a text from being the signature of one D-Bus type whose values can be sent, by the rules of
/// libdbus; empty when nothing does. File descriptors, which mean nothing to another process, are left out.
[[nodiscard]] QString signatureProblem(const QByteArray& signature);

/// Whether it is a list of D-Bus types, none as well, which a value of the type "g" has to be.
[[nodiscard]] bool isSignatureList(const QByteArray& types);

/// The types that stand behind each other in valid ones.
[[nodiscard]] QList<QByteArray> splitTypes(const QByteArray& types);

/// The types within an array, a structure or a dictionary: one, those of the fields, or key and value.
[[nodiscard]] QList<QByteArray> partTypes(const QByteArray& signature);

[[nodiscard]] inline bool isDictionary(const QByteArray& signature)
{
    return signature.startsWith("a{");
}

/// Whether it is the name of a signal or property, as D-Bus has them.
[[nodiscard]] bool isMemberName(const QString& name);
[[nodiscard]] bool isObjectPath(const QString& path);

} // namespace bt
