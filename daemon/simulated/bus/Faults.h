#pragma once

#include "FaultRequest.h"

#include <QMap>
#include <QSet>
#include <QStringList>
#include <QVariantMap>

#include <chrono>

namespace bt {

/// What goes wrong until it is told otherwise.
struct Faults
{
    bool answersErrors = false;
    std::chrono::milliseconds answersLate{ 0 };
    std::chrono::milliseconds ignoresSigterm{ 0 };
    int burst = 0; ///< signals go out when so many have gathered; 0 and 1: at once
    QMap<QString, Payload> payloads; ///< by the name of the signal or property
    QSet<QString> silentProperties;

    /// Takes up a request of a kind that lasts.
    void apply(const FaultRequest& request);
    /// Takes the payloads in the place of properties.
    void replace(QVariantMap& properties) const;
    [[nodiscard]] bool isSilent(const QString& signal) const;
    /// What goes wrong now, as the control interface tells it.
    [[nodiscard]] QList<QVariantMap> records() const;
};

/// One of these; \a text is for a person.
[[nodiscard]] QVariantMap faultRecord(const char* kind, const QString& text,
                                      const QVariantMap& arguments = {});
/// With the time that it was asked for, when it was.
[[nodiscard]] QVariantMap secondsArgument(std::chrono::milliseconds time);

} // namespace bt
