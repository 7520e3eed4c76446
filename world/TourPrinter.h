#pragma once

#include "TourStep.h"

#include <QString>

#include <chrono>

namespace world {

/// Writes the walk to standard output, 80 columns wide; bold and coloured only on a terminal, and not against
/// $NO_COLOR.
class TourPrinter
{
public:
    TourPrinter();

    void paragraph(const QString& text) const;
    void title(int number, const QString& text) const;
    void request(const QString& why, const Request& request) const;
    void reply(const QString& text) const;
    void changes(const ItemMirror& items) const;
    void seen(const QString& outcome, std::chrono::milliseconds took) const;
    void missed(const QStringList& expected, const QStringList& present) const;

private:
    void scanResults(const ItemMirror& items) const;
    void line(const QString& text, const char* colour = "") const;
    void wrapped(const QString& text, int indent, const char* colour = "") const;
    bool m_colour = false;
};

/// The command line that does the same as a request.
[[nodiscard]] QString commandFor(const Request& request);

} // namespace world
