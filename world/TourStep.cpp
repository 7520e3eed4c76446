#include "TourStep.h"

namespace world {

namespace {

QString quoted(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("(empty)") : text;
}

QString isText(const QString& item, const QString& text)
{
    return QStringLiteral("%1 is %2").arg(item, quoted(text));
}

QString inRow(const QString& item, int row)
{
    return QStringLiteral("%1:%2").arg(item).arg(row);
}

} // namespace

Expectation itemIs(const QString& name, const QString& text)
{
    return { isText(name, text), [name, text](const ItemMirror& items) { return items.text(name) == text; },
             [name](const ItemMirror& items) {
                 return isText(name, items.text(name));
             } };
}

Expectation itemIsNot(const QString& name, const QString& text)
{
    Expectation expectation = itemIs(name, text);
    expectation.wanted = QStringLiteral("%1 is not %2").arg(name, quoted(text));
    expectation.holds = [name, text](const ItemMirror& items) {
        return items.text(name) != text;
    };
    return expectation;
}

Expectation itemApplies(const QString& name, bool applies)
{
    const auto words = [name](bool value) {
        return value ? QStringLiteral("%1 applies").arg(name) : QStringLiteral("%1 does not apply").arg(name);
    };
    return { words(applies),
             [name, applies](const ItemMirror& items) { return items.applies(name) == applies; },
             [name, words](const ItemMirror& items) {
                 return words(items.applies(name));
             } };
}

Expectation rowExists(const QString& item, const QString& value)
{
    return { QStringLiteral("one %1 is %2").arg(item, value),
             [item, value](const ItemMirror& items) { return items.row(item, value) >= 0; },
             [item](const ItemMirror& items) {
                 QStringList present;
                 for (int row = 0; !items.text(inRow(item, row)).isEmpty(); ++row) {
                     present << items.text(inRow(item, row));
                 }
                 return present.isEmpty()
                     ? QStringLiteral("no %1 is set").arg(item)
                     : QStringLiteral("%1: %2").arg(item, present.join(QStringLiteral(", ")));
             } };
}

Expectation rowIsGone(const QString& item, const QString& value)
{
    Expectation expectation = rowExists(item, value);
    expectation.wanted = QStringLiteral("no %1 is %2").arg(item, value);
    expectation.holds = [item, value](const ItemMirror& items) {
        return items.row(item, value) < 0;
    };
    return expectation;
}

Expectation rowIs(const QString& key, const QString& value, const QString& item, const QString& text)
{
    const QString place = QStringLiteral("%1 of %2").arg(item, value);
    const auto present = [key, value, item](const ItemMirror& items) {
        const int row = items.row(key, value);
        return row < 0 ? QString() : items.text(inRow(item, row));
    };
    return { isText(place, text), [present, text](const ItemMirror& items) { return present(items) == text; },
             [present, place](const ItemMirror& items) {
                 return isText(place, present(items));
             } };
}

} // namespace world
