#pragma once

#include "JsonTree.h"
#include "Scenario.h"

#include <QStringList>

namespace bt {

/// Understands the text of a scenario file; docs/scenarios.md describes it.
/// The error, with its line, is of the first thing that is wrong: a field that nobody knows or of another
/// type, a value out of its range, a device that is not there.
[[nodiscard]] base::Result<Scenario> readScenario(const QByteArray& text);

/// The same of one device alone.
[[nodiscard]] base::Result<SimulatedDevice> readDevice(const QByteArray& text);

/// The names that may stand in an object of a scenario file.
struct ScenarioVocabulary
{
    static const QStringList& scenario();
    static const QStringList& device();
    static const QStringList& movement();
    static const QStringList& event(); ///< the names of the kinds are among them
    static const QStringList& pairing(); ///< the values of the device's "pairing"
    static const QStringList& roles(); ///< the values in the device's "is"
};

} // namespace bt
