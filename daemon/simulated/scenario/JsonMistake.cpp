#include "JsonMistake.h"

#include "base/Quoted.h"

#include <QRegularExpression>
#include <QTextCodec>

#include <algorithm>
#include <utility>

namespace bt {

namespace {

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

bool isMark(char byte)
{
    return QByteArray("{}[],:").contains(byte);
}

/// Not only up to a zero byte.
QString decoded(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes.constData(), bytes.size());
}

bool isUtf8(const QByteArray& bytes)
{
    QTextCodec::ConverterState state;
    QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

/// A mark, a text in quotation marks, or whatever else stands together.
struct Token
{
    int begin = 0;
    QByteArray bytes;
    bool isOpen = false; ///< a text without its closing quotation mark

    [[nodiscard]] bool isText() const { return bytes.startsWith('"'); }
    [[nodiscard]] bool isWord() const { return !bytes.isEmpty() && !isText() && !isMark(bytes.at(0)); }
};

Token tokenAt(const QByteArray& text, int begin)
{
    int end = begin + 1;
    bool isOpen = false;
    if (text.at(begin) == '"') {
        while (end < text.size() && text.at(end) != '"') {
            end += text.at(end) == '\\' ? 2 : 1;
        }
        isOpen = end >= text.size();
        ++end;
    } else if (!isMark(text.at(begin))) {
        while (end < text.size() && !isBlank(text.at(end)) && !isMark(text.at(end)) && text.at(end) != '"') {
            ++end;
        }
    }
    return { begin, text.mid(begin, end - begin), isOpen };
}

bool isValue(const Token& word)
{
    static const QRegularExpression values(QRegularExpression::anchoredPattern(
        QStringLiteral("true|false|null|-?(0|[1-9][0-9]*)(\\.[0-9]+)?([eE][+-]?[0-9]+)?")));
    return values.match(decoded(word.bytes)).hasMatch();
}

/// The token that is wrong, and the one before it. All that is before is JSON.
struct Mistake
{
    Token before;
    Token token;
};

Mistake findMistake(const QByteArray& text, const JsonStop& stop)
{
    const QByteArray read = text.left(stop.position);
    Mistake mistake;
    for (int at = 0; at < read.size();) {
        if (isBlank(read.at(at))) {
            ++at;
            continue;
        }
        mistake.before = std::exchange(mistake.token, tokenAt(read, at));
        at = mistake.token.begin + mistake.token.bytes.size();
    }
    // What ends a wrong word is not at fault.
    if (mistake.before.isWord() && !isValue(mistake.before)) {
        mistake.token = mistake.before;
    }
    if (mistake.token.isWord()) {
        mistake.token = tokenAt(text, mistake.token.begin); // all of it
    }
    return mistake;
}

QString mistakeInText(char wrong)
{
    if (wrong == '\n' || wrong == '\r') {
        return QStringLiteral("a text ends on its line with a quotation mark; a line end in it is \"\\n\"");
    }
    if (static_cast<unsigned char>(wrong) < ' ') {
        return QStringLiteral("a control character in a text is written like \"\\t\" or \"\\u001b\"");
    }
    return QStringLiteral("behind a \"\\\" in a text comes one of \"\\/bfnrt, or u and four hexadecimal "
                          "digits; beyond U+FFFF a pair of those");
}

QString mistakeInWord(const Token& word)
{
    const QString shown = base::quoted(decoded(word.bytes));
    switch (word.bytes.at(0)) {
    case '/':
    case '#':
        return QStringLiteral("it has no comments; \"description\" is for what has to be said");
    case '+':
    case '-':
    case '.':
        return QStringLiteral("%1 is no number; one is like -48 or 2.5").arg(shown);
    default:
        break;
    }
    if (word.bytes.at(0) >= '0' && word.bytes.at(0) <= '9') {
        return QStringLiteral("%1 is no number; one is like -48 or 2.5").arg(shown);
    }
    return QStringLiteral("%1 is no value; names and texts stand in quotation marks like \"this\", and there "
                          "are true, false and null")
        .arg(shown);
}

QString expectation(JsonStop::Expected expected)
{
    using Expected = JsonStop::Expected;
    switch (expected) {
    case Expected::Document:
        return QStringLiteral("it begins with \"{\"");
    case Expected::Nothing:
        return QStringLiteral("all brackets are closed already");
    case Expected::Value:
        return QStringLiteral("behind a name come \":\" and its value");
    case Expected::Member:
        return QStringLiteral("an object is { \"NAME\": VALUE, … }, with a comma between two of them");
    case Expected::Element:
        break;
    }
    return QStringLiteral("a list is [ VALUE, … ], with a comma between two of them");
}

QString mistakeAtEnd(const JsonStop& stop)
{
    return stop.openLine == 0
        ? QStringLiteral("nothing is in it; it has to be an object, \"{ … }\"")
        : QStringLiteral("it ends while the bracket of line %1 is open").arg(stop.openLine);
}

QString explain(const Mistake& mistake, char wrong, const JsonStop& stop)
{
    const Token& token = mistake.token;
    if (!isUtf8(token.bytes)) {
        return QStringLiteral("its bytes are no UTF-8; save it with that encoding");
    }
    if (token.isOpen) {
        return mistakeInText(wrong);
    }
    if (stop.isTooLarge) {
        return QStringLiteral("the number %1 is too large").arg(decoded(token.bytes.left(40)));
    }
    if (token.isWord() && !isValue(token)) {
        return mistakeInWord(token);
    }
    const QByteArray inner = token.isText() ? token.bytes.mid(1).chopped(1) : token.bytes;
    const QString shown = base::quoted(decoded(inner));
    if (mistake.before.bytes == "," && (inner == "}" || inner == "]" || inner == ",")) {
        return QStringLiteral("a comma too many stands before %1").arg(shown);
    }
    return QStringLiteral("%1 is out of place; ").arg(shown) + expectation(stop.expected);
}

int lineAt(const QByteArray& text, int position)
{
    int line = 1;
    for (int at = 0; at < position; ++at) {
        const bool isPair = text.at(at) == '\n' && at > 0 && text.at(at - 1) == '\r';
        line += (text.at(at) == '\n' && !isPair) || text.at(at) == '\r' ? 1 : 0;
    }
    return line;
}

} // namespace

TextProblem explainMistake(const QByteArray& text, const JsonStop& stop)
{
    const QString intro = QStringLiteral("this is no JSON: ");
    const bool isAtEnd = stop.position > text.size();
    const Mistake mistake = findMistake(text, stop);
    const bool isWrong = !mistake.token.bytes.isEmpty()
        && (!isAtEnd || mistake.token.isOpen || (mistake.token.isWord() && !isValue(mistake.token)));
    if (!isWrong) {
        return { lineAt(text, text.size()), intro + mistakeAtEnd(stop) };
    }
    const char wrong = isAtEnd ? '\n' : text.at(stop.position - 1);
    return { lineAt(text, mistake.token.begin), intro + explain(mistake, wrong, stop) };
}

} // namespace bt
