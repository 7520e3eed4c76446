#include "DaemonTypes.h"

#include <QDBusMetaType>

#include <tuple>

namespace {

// The fields of an entry in their order on the wire: its signature, its reader and its writer follow from
// this.
template <typename Entry>
constexpr std::tuple<> FieldsOf;
template <>
constexpr auto FieldsOf<ScanEntry> = std::make_tuple(&ScanEntry::address, &ScanEntry::signalStrength,
                                                     &ScanEntry::name);
template <>
constexpr auto FieldsOf<PairEntry> = std::make_tuple(&PairEntry::address, &PairEntry::name,
                                                     &PairEntry::connectionState);

template <typename Entry, typename Field>
QLatin1String signatureOf(Field Entry::* /*field*/)
{
    return QLatin1String(QDBusMetaType::typeToSignature(qMetaTypeId<Field>()));
}

// Whether a signature is that of a structure of such fields: of one or more of the first, or of all and then
// of more that a later daemon appended.
template <typename Entry>
bool isStructureOf(const QString& signature)
{
    QString expected(QLatin1Char('('));
    bool isComplete = false;
    const auto append = [&](auto field) {
        expected += signatureOf(field);
        isComplete = isComplete || signature == expected + QLatin1Char(')');
    };
    std::apply([&](auto... fields) { (append(fields), ...); }, FieldsOf<Entry>);
    return isComplete || signature.startsWith(expected);
}

// The type comes first: an argument that is being written has a signature too, but cannot be read.
template <typename Entry>
bool holdsEntry(const QDBusArgument& argument)
{
    return argument.currentType() == QDBusArgument::StructureType
        && isStructureOf<Entry>(argument.currentSignature());
}

template <typename Entry>
bool holdsList(const QDBusArgument& argument)
{
    return argument.currentType() == QDBusArgument::ArrayType
        && isStructureOf<Entry>(argument.currentSignature().mid(1));
}

// Takes the value all the same, so that whoever reads until the end gets there. A container is entered and
// left: asVariant() would move the copies of the argument along.
void passOver(const QDBusArgument& argument)
{
    switch (argument.currentType()) {
    case QDBusArgument::ArrayType:
        argument.beginArray();
        argument.endArray();
        break;
    case QDBusArgument::StructureType:
        argument.beginStructure();
        argument.endStructure();
        break;
    case QDBusArgument::MapType:
        argument.beginMap();
        argument.endMap();
        break;
    case QDBusArgument::MapEntryType:
        argument.beginMapEntry();
        argument.endMapEntry();
        break;
    case QDBusArgument::BasicType:
    case QDBusArgument::VariantType:
        static_cast<void>(argument.asVariant());
        break;
    case QDBusArgument::UnknownType: // the end, or nothing that can be read
        break;
    }
}

template <typename Entry>
void writeEntry(QDBusArgument& argument, const Entry& entry)
{
    argument.beginStructure();
    std::apply([&](auto... fields) { (argument << ... << (entry.*fields)); }, FieldsOf<Entry>);
    argument.endStructure();
}

template <typename Entry>
void readFields(const QDBusArgument& argument, Entry& entry)
{
    const auto readIfThere = [&](auto field) {
        if (!argument.atEnd()) {
            argument >> entry.*field;
        }
    };
    argument.beginStructure();
    std::apply([&](auto... fields) { (readIfThere(fields), ...); }, FieldsOf<Entry>);
    argument.endStructure();
}

template <typename Entry>
void readEntry(const QDBusArgument& argument, Entry& entry)
{
    if (holdsEntry<Entry>(argument)) {
        readFields(argument, entry);
    } else {
        passOver(argument);
    }
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

// The shape of the whole list is looked at once, not that of each entry.
template <typename Entry>
void readList(const QDBusArgument& argument, QList<Entry>& entries)
{
    entries.clear();
    if (!holdsList<Entry>(argument)) {
        passOver(argument);
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
    writeEntry(argument, entry);
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const ScanResults& results)
{
    writeList(argument, results.entries);
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PairEntry& entry)
{
    writeEntry(argument, entry);
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PairList& list)
{
    writeList(argument, list.entries);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ScanEntry& entry)
{
    readEntry(argument, entry);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PairEntry& entry)
{
    readEntry(argument, entry);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ScanResults& results)
{
    readList(argument, results.entries);
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PairList& list)
{
    readList(argument, list.entries);
    return argument;
}

QString textIn(const QVariant& value)
{
    const QString text = value.toString();
    return text.isNull() ? QStringLiteral("") : text;
}

void registerDaemonTypes()
{
    registerAs<ScanResults>("ScanResults");
    registerAs<ScanEntry>("ScanEntry");
    registerAs<PairList>("PairList");
    registerAs<PairEntry>("PairEntry");
}
