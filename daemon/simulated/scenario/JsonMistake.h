#pragma once

#include "JsonTree.h"

namespace bt {

/// Where the parser stopped.
struct JsonStop
{
    enum class Expected {
        Document,
        Nothing, ///< the document is complete
        Value, ///< behind a name
        Member, ///< or the end of the object
        Element ///< or the end of the list
    };

    int position = 0; ///< how many bytes were read, the wrong one among them
    Expected expected = Expected::Document;
    int openLine = 0; ///< where the innermost object or list that is open begins
    bool isTooLarge = false; ///< the number there is
};

/// What is wrong with a text that is no JSON, and what would be right, for whoever wrote it by hand.
[[nodiscard]] TextProblem explainMistake(const QByteArray& text, const JsonStop& stop);

} // namespace bt
