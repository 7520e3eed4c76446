#include "DaemonTypes.h"

#include <QDBusMetaType>

#include <algorithm>

namespace {

constexpr QLatin1String ScanFields("tis", 3);
constexpr QLatin1String PairFields("tsu", 3);

// Whether "signature" is "opening", structure fields, and the closing parenthesis, where the fields are one
// or more of the first "fields", or all of them and then more: a later daemon may append some, which are
// skipped.
bool beginsWithFieldsOf(QLatin1String fields, const QString& signature, QLatin1String opening)
{
    const int count = signature.size() - opening.size() - 1;
    const int known = std::min(count, fields.size());
    return count >= 1 && signature.startsWith(opening) && signature.endsWith(QLatin1Char(')'))
        && QStringView(signature).mid(opening.size(), known) == fields.left(known);
}

bool isEntryOf(QLatin1String fields, const QDBusArgument& argument)
{
    return argument.currentType() == QDBusArgument::StructureType
        && beginsWithFieldsOf(fields, argument.currentSignature(), QLatin1String("("));
}

// The type comes first: an argument that is being written has a signature too, but cannot be read.
bool isListOf(QLatin1String fields, const QDBusArgument& argument)
{
    return argument.currentType() == QDBusArgument::ArrayType
        && beginsWithFieldsOf(fields, argument.currentSignature(), QLatin1String("a("));
}

template <typename Field>
void readIfThere(const QDBusArgument& argument, Field& field)
{
    if (!argument.atEnd()) {
        argument >> field;
    }
}

template <typename... Fields>
void readStructure(const QDBusArgument& argument, Fields&... fields)
{
    argument.beginStructure();
    (readIfThere(argument, fields), ...);
    argument.endStructure();
}

void readFields(const QDBusArgument& argument, ScanEntry& entry)
{
    readStructure(argument, entry.address, entry.signalStrength, entry.name);
}

void readFields(const QDBusArgument& argument, PairEntry& entry)
{
    readStructure(argument, entry.address, entry.name, entry.connectionState);
}

template <typename Entry>
void writeList(QDBusArgument& argument, const QList<Entry>& entries)
{
    argument.beginArray(qMetaTypeId<Entry>());
    for (const Entry& entry : entries) {
        argument << entry;
    }
    argument.endArray();
}

template <typename Entry>
void readList(const QDBusArgument& argument, QLatin1String fields, QList<Entry>& entries)
{
    entries.clear();
    if (!isListOf(fields, argument)) {
        return;
    }
    argument.beginArray();
    while (!argument.atEnd()) {
        Entry entry;
        readFields(argument, entry);
        entries.append(entry);
    }
    argument.endArray();
}

template <typename Type>
void registerAs(const char* name)
{
    qRegisterMetaType<Type>(name);
    qDBusRegisterMetaType<Type>();
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const ScanEntry& entry)
{
    argument.beginStructure();
    argument << entry.address << entry.signalStrength << entry.name;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const ScanResults& results)
{
    writeList(argument, results.entries);
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PairEntry& entry)
{
    argument.beginStructure();
    argument << entry.address << entry.name << entry.connectionState;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PairList& list)
{
    writeList(argument, list.entries);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ScanEntry& entry)
{
    if (isEntryOf(ScanFields, argument)) {
        readFields(argument, entry);
    }
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PairEntry& entry)
{
    if (isEntryOf(PairFields, argument)) {
        readFields(argument, entry);
    }
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ScanResults& results)
{
    readList(argument, ScanFields, results.entries);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PairList& list)
{
    readList(argument, PairFields, list.entries);
    return argument;
}

void registerDaemonTypes()
{
    registerAs<ScanResults>("ScanResults");
    registerAs<ScanEntry>("ScanEntry");
    registerAs<PairList>("PairList");
    registerAs<PairEntry>("PairEntry");
}
