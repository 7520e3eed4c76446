#pragma once

#include <QString>

#include <vector>

namespace ipc {

/// An expression with its inputs taken out: "(res.rowName_3.value != '') && (cfg.on.value)" is the shape
/// "($0.value != '') && ($1.value)" over the inputs res.rowName_3 and cfg.on. The rows of a list differ in
/// their inputs and have one shape, which is compiled once for all of them.
struct ExpressionShape
{
    enum class Root { Result, Config }; ///< "res." and "cfg."
    struct Input
    {
        Root root;
        QString name; ///< as it is written: "rowName_3"
        int position; ///< of its first occurrence in the expression, in characters
    };

    QString text;
    QString parameters; ///< "$0,$1"
    std::vector<Input> inputs;

    static ExpressionShape of(const QString& expression);
};

} // namespace ipc
