#include "ExpressionShape.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace ipc {
namespace {

/// A text literal, which holds no names, or a dotted name that begins with one of the two roots.
const QRegularExpression& literalOrName()
{
    static const QRegularExpression expression(
        QStringLiteral(R"("(?:[^"\\]|\\.)*"|'(?:[^'\\]|\\.)*'|(?<![\w$.])(res|cfg)\.([\w$]+))"));
    return expression;
}

/// The place of an input among the others; it is added when it is new.
std::size_t placeOf(const ExpressionShape::Input& input, std::vector<ExpressionShape::Input>& inputs)
{
    const auto found = std::find_if(inputs.begin(), inputs.end(), [&](const ExpressionShape::Input& known) {
        return known.root == input.root && known.name == input.name;
    });
    const auto place = static_cast<std::size_t>(found - inputs.begin());
    if (found == inputs.end()) {
        inputs.push_back(input);
    }
    return place;
}

QString parameter(std::size_t place)
{
    return QLatin1Char('$') + QString::number(place);
}

} // namespace

ExpressionShape ExpressionShape::of(const QString& expression)
{
    ExpressionShape shape;
    int copied = 0;
    auto matches = literalOrName().globalMatch(expression);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QStringRef root = match.capturedRef(1);
        if (root.isEmpty()) {
            continue;
        }
        const Input input{ root == QLatin1String("res") ? Root::Result : Root::Config, match.captured(2),
                           match.capturedStart() };
        shape.text += expression.midRef(copied, match.capturedStart() - copied);
        shape.text += parameter(placeOf(input, shape.inputs));
        copied = match.capturedEnd();
    }
    shape.text += expression.midRef(copied);

    QStringList parameters;
    for (std::size_t i = 0; i < shape.inputs.size(); ++i) {
        parameters << parameter(i);
    }
    shape.parameters = parameters.join(QLatin1Char(','));
    return shape;
}

} // namespace ipc
