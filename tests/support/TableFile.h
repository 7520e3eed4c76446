#pragma once

#include <QFile>
#include <QHash>
#include <QList>
#include <QString>

/// The cases of a data-driven test that are easier to read as they are than within C++'s quotation marks.
///
///     # Paragraphs with a blank line between them: the case's name, its fields, each on its line; one
///     without # a value has the paragraph's remaining lines. a name twice says: line 2: "name" stands here
///     twice text: { "name": "Lamp",
///       "name": "Eye" }
struct TableCase
{
    QByteArray name;
    QHash<QString, QString> fields;

    [[nodiscard]] QString operator[](const char* field) const { return fields.value(field); }
};

/// Nothing when there is no such file.
inline QList<TableCase> readTable(const QString& path)
{
    QFile file(path);
    static_cast<void>(file.open(QIODevice::ReadOnly));
    QList<TableCase> cases;
    for (const QString& paragraph : QString::fromUtf8(file.readAll()).split("\n\n", Qt::SkipEmptyParts)) {
        QStringList lines = paragraph.trimmed().split('\n');
        if (lines.first().startsWith('#')) {
            continue;
        }
        TableCase read{ lines.takeFirst().toUtf8(), {} };
        while (!lines.isEmpty()) {
            const QString line = lines.takeFirst();
            const QString value = line.section(": ", 1);
            read.fields.insert(line.section(':', 0, 0), value.isEmpty() ? lines.join('\n') : value);
            if (value.isEmpty()) {
                break;
            }
        }
        cases << read;
    }
    return cases;
}
