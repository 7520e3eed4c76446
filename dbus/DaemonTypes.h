#pragma once

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>

#include <limits>

/// One device found by a scan; (tis) on the wire.
struct ScanEntry
{
    qulonglong address = 0;
    /// As the daemon reports it; the largest int while nothing is known.
    int signalStrength = std::numeric_limits<int>::max();
    /// Empty while the device has not told its name.
    QString name;
};

inline bool operator==(const ScanEntry& left, const ScanEntry& right)
{
    return left.address == right.address && left.signalStrength == right.signalStrength
        && left.name == right.name;
}

inline bool operator!=(const ScanEntry& left, const ScanEntry& right)
{
    return !(left == right);
}

/// What a scan has found so far, in the daemon's order; a(tis) on the wire.
struct ScanResults
{
    QList<ScanEntry> entries;
};

inline bool operator==(const ScanResults& left, const ScanResults& right)
{
    return left.entries == right.entries;
}

inline bool operator!=(const ScanResults& left, const ScanResults& right)
{
    return !(left == right);
}

/// One paired device; (tsu) on the wire. Name and number are the other way round than in ScanEntry.
struct PairEntry
{
    qulonglong address = 0;
    QString name;
    /// 0, or the bits of the connections that stand: 1 plain, 2 iOS, 4 headset, 8 FTP.
    uint connectionState = 0;
};

inline bool operator==(const PairEntry& left, const PairEntry& right)
{
    return left.address == right.address && left.name == right.name
        && left.connectionState == right.connectionState;
}

inline bool operator!=(const PairEntry& left, const PairEntry& right)
{
    return !(left == right);
}

/// The paired devices, in the daemon's order; a(tsu) on the wire.
struct PairList
{
    QList<PairEntry> entries;
};

inline bool operator==(const PairList& left, const PairList& right)
{
    return left.entries == right.entries;
}

inline bool operator!=(const PairList& left, const PairList& right)
{
    return !(left == right);
}

Q_DECLARE_METATYPE(ScanEntry)
Q_DECLARE_METATYPE(ScanResults)
Q_DECLARE_METATYPE(PairEntry)
Q_DECLARE_METATYPE(PairList)

QDBusArgument& operator<<(QDBusArgument& argument, const ScanEntry& entry);
QDBusArgument& operator<<(QDBusArgument& argument, const ScanResults& results);
QDBusArgument& operator<<(QDBusArgument& argument, const PairEntry& entry);
QDBusArgument& operator<<(QDBusArgument& argument, const PairList& list);

/// Reading takes one value from the argument, whatever it is: Qt and libdbus do not check what they read,
/// they abort the process or hand out bytes of the heap. An entry's fields that the structure lacks stay as
/// they were, those that a later daemon appends are passed over; of any other value nothing is read into the
/// entry.
const QDBusArgument& operator>>(const QDBusArgument& argument, ScanEntry& entry);
const QDBusArgument& operator>>(const QDBusArgument& argument, PairEntry& entry);

/// Reading a list replaces what the target held; a value of another shape reads as an empty list.
const QDBusArgument& operator>>(const QDBusArgument& argument, ScanResults& results);
const QDBusArgument& operator>>(const QDBusArgument& argument, PairList& list);

/// The text in a value from the daemon. Where there is none it is empty and not null: null is what a
/// framework may take for "no value".
QString textIn(const QVariant& value);

/// Makes the types known to the meta-type and the D-Bus type systems, under their own names; repeating it is
/// harmless.
void registerDaemonTypes();
