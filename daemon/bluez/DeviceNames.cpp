#include "DeviceNames.h"

#include "RadioTypes.h"

#include <QVector>

namespace bt {

namespace {

bool isSeen(uint character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Other_NotAssigned:
    case QChar::Other_PrivateUse:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

} // namespace

QString cleanName(const QString& name)
{
    QString clean;
    for (const uint character : name.toUcs4()) {
        clean += isSeen(character) ? QString::fromUcs4(&character, 1) : QStringLiteral(" ");
    }
    clean = clean.simplified();
    while (clean.contains(UnknownName)) { // what is left may join to it anew
        clean = clean.remove(UnknownName).simplified();
    }
    return clean;
}

QString nameOf(const BluezQt::Device& device)
{
    return cleanName(device.remoteName());
}

} // namespace bt
