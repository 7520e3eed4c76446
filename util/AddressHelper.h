#pragma once

#include <QString>

/// The two forms of a Bluetooth device address. The daemon carries the 48 bits in an unsigned integer, bits
/// 40 to 47 being the byte that people write first; clients see and type "12:34:56:78:9A:BC".
class AddressHelper
{
public:
    /// The address that \a text names, or 0 when it does not have six fields between colons.
    /// A field that is no hexadecimal number counts as 0. Fields 0 to 4 keep their low eight bits only; the
    /// last field is added whole, sign and carry included: "00:00:00:00:01:-1" is 0xFF.
    static qulonglong str2int(QString text);

    /// Always 17 characters, upper case; bits 48 to 63 of \a address are ignored.
    static QString int2str(qulonglong address);
};
