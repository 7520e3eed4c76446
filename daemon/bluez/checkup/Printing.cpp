#include "Checkup.h"

#include "Escaped.h"
#include "JsonLine.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace bt {

namespace {

const char* wordOf(Finding::Level level)
{
    switch (level) {
    case Finding::Level::Fine:
        return "fine";
    case Finding::Level::Note:
        return "note";
    default:
        return "fault";
    }
}

int statusOf(Finding::Level level)
{
    switch (level) {
    case Finding::Level::Fine:
        return 0;
    case Finding::Level::Note:
        return 1;
    default:
        return 3;
    }
}

QString line(const Finding& finding)
{
    QString text = QStringLiteral("%1  %2: %3")
                       .arg(QLatin1String(wordOf(finding.level)), -5)
                       .arg(finding.subject, finding.text);
    if (!finding.remedy.isEmpty()) {
        text += QStringLiteral("\n       ") + finding.remedy;
    }
    return text;
}

QString object(const Finding& finding)
{
    nlohmann::ordered_json json;
    json["level"] = wordOf(finding.level);
    json["subject"] = finding.subject.toStdString();
    json["text"] = finding.text.toStdString();
    json["remedy"] = finding.remedy.toStdString();
    return base::jsonText(json);
}

} // namespace

int printFindings(const Findings& findings, bool json)
{
    int status = 0;
    for (const Finding& finding : findings) {
        Finding shown = finding;
        shown.text = base::escaped(finding.text); // names come over the radio
        std::puts(qPrintable(json ? object(finding) : line(shown)));
        status = std::max(status, statusOf(finding.level));
    }
    return status;
}

} // namespace bt
