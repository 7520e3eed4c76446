#pragma once

#include <QDBusMetaType>
#include <QFile>
#include <QStringList>
#include <QXmlStreamReader>

/// The members of one interface of a D-Bus introspection document, in its order, each as one line of C++
/// types: "Pair(qulonglong in0)", "readwrite QString myName".
struct InterfaceDescription
{
    QStringList signalLines;
    QStringList methodLines;
    QStringList propertyLines;
    QStringList propertySignatures;

    static InterfaceDescription read(const QByteArray& xml, const QString& interface)
    {
        InterfaceDescription result;
        QXmlStreamReader reader(xml);
        bool inside = false;
        while (!reader.atEnd()) {
            reader.readNext();
            if (!reader.isStartElement() && !reader.isEndElement()) {
                continue;
            }
            if (reader.name() == QLatin1String("interface")) {
                inside =
                    reader.isStartElement() && reader.attributes().value(QLatin1String("name")) == interface;
            } else if (inside && reader.isStartElement()) {
                result.add(reader);
            }
        }
        return result;
    }

    static InterfaceDescription ofFile(const QString& path, const QString& interface)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? read(file.readAll(), interface) : InterfaceDescription();
    }

private:
    void add(QXmlStreamReader& reader)
    {
        const QXmlStreamAttributes attributes = reader.attributes();
        const QString kind = reader.name().toString();
        const QString name = attributes.value(QLatin1String("name")).toString();
        if (kind == QLatin1String("signal")) {
            signalLines << name + arguments(reader);
        } else if (kind == QLatin1String("method")) {
            methodLines << name + arguments(reader);
        } else if (kind == QLatin1String("property")) {
            const QString type = attributes.value(QLatin1String("type")).toString();
            propertySignatures << name + QLatin1Char(' ') + type;
            propertyLines << attributes.value(QLatin1String("access")) + QLatin1Char(' ') + cppType(type)
                    + QLatin1Char(' ') + name;
        }
    }

    static QString arguments(QXmlStreamReader& reader)
    {
        QStringList all;
        while (reader.readNextStartElement()) {
            all << cppType(reader.attributes().value(QLatin1String("type")).toString()) + QLatin1Char(' ')
                    + reader.attributes().value(QLatin1String("name"));
            reader.skipCurrentElement();
        }
        return QLatin1Char('(') + all.join(QLatin1String(", ")) + QLatin1Char(')');
    }

    static QString cppType(const QString& signature)
    {
        if (signature == QLatin1String("a(tis)")) {
            return QStringLiteral("ScanResults");
        }
        if (signature == QLatin1String("a(tsu)")) {
            return QStringLiteral("PairList");
        }
        return QString::fromLatin1(QMetaType::typeName(QDBusMetaType::signatureToType(signature.toLatin1())));
    }
};
