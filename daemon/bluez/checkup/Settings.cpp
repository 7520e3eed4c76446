#include "Settings.h"

#include <QFileInfo>
#include <QSettings>

#include <array>

namespace bt {

namespace {

struct Setting
{
    const char* key; ///< as QSettings has it: the group [General] goes without its name
    const char* name;
    const char* harmless; ///< the values that bite nobody, with commas in between
    Finding::Level level; ///< of any other
    const char* otherwise; ///< what that does
    const char* remedy;
};

constexpr std::array Settings{
    Setting{ "Policy/AutoEnable", "AutoEnable", "false", Finding::Level::Fine,
             "bluetoothd switches adapters on by itself, so that the radio leaves them on at its end", "" },
    Setting{ "AlwaysPairable", "AlwaysPairable", "false", Finding::Level::Note,
             "devices may ask to pair also while no agent is there to ask anybody", "AlwaysPairable=false" },
    Setting{ "JustWorksRepairing", "JustWorksRepairing", "never,confirm", Finding::Level::Note,
             "a device that forgot us and pairs anew without a code is taken without asking anybody",
             "JustWorksRepairing=confirm has the person asked" },
    Setting{ "Privacy", "Privacy", "off", Finding::Level::Note,
             "this machine shows changing addresses, so that low-energy devices may not find it again",
             "Privacy=off, unless that is wanted" },
};

} // namespace

Findings findingsOfSettings(const QString& path)
{
    const QString subject = QStringLiteral("main.conf");
    const QFileInfo file(path);
    if (file.exists() && !file.isReadable()) {
        return { { Finding::Level::Note, subject, QStringLiteral("%1 cannot be read").arg(path),
                   QStringLiteral("ask as root to see the settings") } };
    }
    const QSettings settings(path, QSettings::IniFormat);
    Findings findings;
    for (const Setting& setting : Settings) {
        // What nobody has set is known and harmless enough.
        const QString value = settings.value(QLatin1String(setting.key)).toString().toLower();
        const QStringList harmless = QString::fromLatin1(setting.harmless).split(QLatin1Char(','));
        if (!value.isEmpty() && !harmless.contains(value)) {
            findings.append({ setting.level, subject,
                              QStringLiteral("%1=%2: %3")
                                  .arg(QLatin1String(setting.name), value, QLatin1String(setting.otherwise)),
                              QLatin1String(setting.remedy) });
        }
    }
    if (findings.isEmpty()) {
        findings.append({ Finding::Level::Fine, subject, QStringLiteral("no setting that bites"), {} });
    }
    return findings;
}

} // namespace bt
