#include "AddressHelper.h"

#include <QVector>

namespace {
constexpr int FieldCount = 6;
constexpr int HexBase = 16;
} // namespace

qulonglong AddressHelper::str2int(QString text)
{
    const QVector<QStringRef> fields = text.splitRef(QLatin1Char(':'));
    if (fields.size() != FieldCount) {
        return 0;
    }

    // The last field alone is not masked: what exceeds a byte carries into the others. Unsigned all the way,
    // so that a negative last field wraps instead of overflowing.
    qulonglong address = 0;
    for (int i = 0; i < FieldCount - 1; ++i) {
        const auto field = static_cast<qulonglong>(fields.at(i).toLongLong(nullptr, HexBase));
        address = (address << 8U) | (field & 0xFFU);
    }
    return (address << 8U) + static_cast<qulonglong>(fields.last().toLongLong(nullptr, HexBase));
}

QString AddressHelper::int2str(qulonglong address)
{
    static const QLatin1String digits("0123456789ABCDEF");
    QString text(3 * FieldCount - 1, QLatin1Char(':'));
    QChar* out = text.data();
    for (unsigned shift = 48; shift != 0; ++out) {
        shift -= 4;
        *out++ = digits.at(static_cast<int>((address >> shift) & 0xFU));
        shift -= 4;
        *out++ = digits.at(static_cast<int>((address >> shift) & 0xFU));
    }
    return text;
}
