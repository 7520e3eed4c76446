#include "ScenarioReader.h"

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
    static const QStringList names{ "after",  "connect", "pair-request", "drop", "disappear",
                                    "appear", "move",    "to",           "in" };
    return names;
}

const QStringList& ScenarioVocabulary::pairing()
{
    static const QStringList names{ "just-works", "code",    "confirmation", "pin",
                                    "wrong-pin",  "refuses", "times-out",    "out-of-reach" };
    return names;
}

const QStringList& ScenarioVocabulary::roles()
{
    static const QStringList names{ "plain", "headset", "app", "ftp", "ios", "wifed" };
    return names;
}

} // namespace bt
