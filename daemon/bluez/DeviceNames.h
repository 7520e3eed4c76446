#pragma once

#include <BluezQt/Device>

#include <QString>

namespace bt {

/// A name as it comes over the radio, fit for a line: what steers a terminal or is not seen (control
/// characters, line ends, marks of direction, zero-width and tag characters) is a blank, several blanks are
/// one, and what clients replace by "unknown" in their language does not stand in it. Empty when nothing is
/// left.
QString cleanName(const QString& name);

/// The device's name, clean; empty while it has told none.
QString nameOf(const BluezQt::Device& device);

} // namespace bt
