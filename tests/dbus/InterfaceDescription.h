#pragma once

#include <QDBusMetaType>
#include <QFile>
#include <QStringList>
#include <QXmlStreamReader>

/// The members of the interface of a D-Bus introspection document, in its order, each as one line of C++
/// types: "Pair(qulonglong in0)", "readwrite QString myName".
struct InterfaceDescription
{
    QStringList signalLines;
    QStringList methodLines;
    QStringList propertyLines;

    explicit InterfaceDescription(QFile& file)
    {
        for (QXmlStreamReader reader(&file); !reader.atEnd(); reader.readNext()) {
            if (!reader.isStartElement()) {
                continue;
            }
            const QXmlStreamAttributes attributes = reader.attributes();
            const QString kind = reader.name().toString();
            const QString name = attributes.value("name").toString();
            if (kind == "signal") {
                signalLines << name + arguments(reader);
            } else if (kind == "method") {
                methodLines << name + arguments(reader);
            } else if (kind == "property") {
                propertyLines << attributes.value("access") + ' ' + cppType(attributes.value("type")) + ' '
                        + name;
            }
        }
    }

private:
    static QString arguments(QXmlStreamReader& reader)
    {
        QStringList all;
        while (reader.readNextStartElement()) {
            const QXmlStreamAttributes attributes = reader.attributes();
            all << cppType(attributes.value("type")) + ' ' + attributes.value("name");
            reader.skipCurrentElement();
        }
        return '(' + all.join(", ") + ')';
    }

    static QString cppType(const QStringRef& signature)
    {
        if (signature == "a(tis)") {
            return "ScanResults";
        }
        if (signature == "a(tsu)") {
            return "PairList";
        }
        return QMetaType::typeName(QDBusMetaType::signatureToType(signature.toLatin1()));
    }
};
