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
            if (!reader.isStartElement() && !reader.isEndElement())
                continue;
            if (reader.name() == "interface")
                inside = reader.isStartElement() && reader.attributes().value("name") == interface;
            else if (inside && reader.isStartElement())
                result.add(reader);
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
        const QString name = attributes.value("name").toString();
        if (kind == "signal") {
            signalLines << name + arguments(reader);
        } else if (kind == "method") {
            methodLines << name + arguments(reader);
        } else if (kind == "property") {
            const QString type = attributes.value("type").toString();
            propertySignatures << name + ' ' + type;
            propertyLines << attributes.value("access") + ' ' + cppType(type) + ' ' + name;
        }
    }

    static QString arguments(QXmlStreamReader& reader)
    {
        QStringList all;
        while (reader.readNextStartElement()) {
            all << cppType(reader.attributes().value("type").toString()) + ' '
                    + reader.attributes().value("name");
            reader.skipCurrentElement();
        }
        return '(' + all.join(", ") + ')';
    }

    static QString cppType(const QString& signature)
    {
        if (signature == "a(tis)")
            return "ScanResults";
        if (signature == "a(tsu)")
            return "PairList";
        return QString::fromLatin1(QMetaType::typeName(QDBusMetaType::signatureToType(signature.toLatin1())));
    }
};
