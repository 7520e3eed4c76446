#pragma once

#include "ItemMirror.h"

#include <QString>

#include <functional>
#include <vector>

namespace world {

/// What has to be seen after a request.
struct Expectation
{
    QString wanted; ///< in words: "status is On"
    std::function<bool(const ItemMirror&)> holds;
    std::function<QString(const ItemMirror&)> present; ///< what there is instead, in words
};

[[nodiscard]] Expectation itemIs(const QString& name, const QString& text);
[[nodiscard]] Expectation itemIsNot(const QString& name, const QString& text);
[[nodiscard]] Expectation itemApplies(const QString& name, bool applies);
/// A row of a list has this value.
[[nodiscard]] Expectation rowExists(const QString& item, const QString& value);
[[nodiscard]] Expectation rowIsGone(const QString& item, const QString& value);
/// In the row whose "key" item has a value, another item has a text. Rows move: each time it is looked up
/// anew.
[[nodiscard]] Expectation rowIs(const QString& key, const QString& value, const QString& item,
                                const QString& text);

/// What is asked of the module.
struct Request
{
    enum class Kind { Set, Call } kind = Kind::Call;
    QString item;
    QString text; ///< the value, or the action's text; may be empty for an action
    QString reply; ///< that an action has to give
};

/// One request, why it is made, and how it is seen to have happened.
struct TourStep
{
    QString title; ///< empty when it goes on with the step before
    QString why;
    Request request;
    std::vector<Expectation> expectations;
    QString outcome; ///< what has happened then, in words
};

} // namespace world
