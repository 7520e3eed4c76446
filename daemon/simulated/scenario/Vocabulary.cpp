#include "DeviceWords.h"
#include "EventWords.h"
#include "ScenarioReader.h"
#include "WordTable.h"

namespace bt {

const QStringList& ScenarioVocabulary::scenario()
{
    static const QStringList names{ "$schema", "description", "devices", "timeline" };
    return names;
}

const QStringList& ScenarioVocabulary::device()
{
    static const QStringList names{ "address", "name", "class", "rssi",   "moves", "pairing",
                                    "pin",     "code", "is",    "paired", "absent" };
    return names;
}

const QStringList& ScenarioVocabulary::movement()
{
    static const QStringList names{ "to", "in", "returns" };
    return names;
}

const QStringList& ScenarioVocabulary::event()
{
    static const QStringList names = QStringList{ "after" } + wordsOf(EventWords) + QStringList{ "to", "in" };
    return names;
}

const QStringList& ScenarioVocabulary::pairing()
{
    static const QStringList names = wordsOf(PairingWords);
    return names;
}

const QStringList& ScenarioVocabulary::roles()
{
    static const QStringList names = wordsOf(RoleWords);
    return names;
}

} // namespace bt
