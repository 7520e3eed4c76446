#include "Signature.h"

#include <QRegularExpression>

namespace bt {

namespace {

constexpr int Longest = 255;
constexpr int Deepest = 32; ///< of arrays, structures and dictionaries each
const QByteArray Basic = QByteArrayLiteral("ybnqiuxtdsogh"); ///< what can be the key of a dictionary

/// Walks over the types in a text. The first problem stays.
class Walk
{
public:
    /// How many of each kind a type stands in.
    struct Depth
    {
        int arrays = 0; ///< in direct succession, as libdbus counts them
        int structures = 0;
        int dictionaries = 0;
    };

    explicit Walk(const QByteArray& text)
        : m_text(text)
    {
    }

    [[nodiscard]] const QString& problem() const { return m_problem; }
    [[nodiscard]] bool isAtEnd() const { return m_position >= m_text.size(); }
    [[nodiscard]] int position() const { return m_position; }
    [[nodiscard]] bool hasDescriptor() const { return m_hasDescriptor; }

    /// @return whether there was one.
    bool type(Depth depth)
    {
        const char letter = next();
        if (letter == 'a') {
            return array(depth);
        }
        if (letter == '(') {
            return structure(depth);
        }
        m_hasDescriptor = m_hasDescriptor || letter == 'h';
        return letter == 'v' || (letter != '\0' && Basic.contains(letter))
            || fail(letter == '\0'      ? QStringLiteral("it ends where a type has to follow")
                        : letter == '{' ? QStringLiteral("\"{\" stands in an array alone, as in a{sv}")
                                        : QStringLiteral("\"%1\" is no type").arg(QLatin1Char(letter)));
    }

private:
    [[nodiscard]] char peek() const { return isAtEnd() ? '\0' : m_text.at(m_position); }
    char next()
    {
        const char letter = peek();
        ++m_position;
        return letter;
    }

    bool array(Depth depth)
    {
        ++depth.arrays;
        if (depth.arrays > Deepest) {
            return tooDeep();
        }
        if (peek() == '{') {
            ++m_position;
            return dictionary(depth);
        }
        return type(depth);
    }

    bool structure(Depth depth)
    {
        depth.arrays = 0;
        if (++depth.structures > Deepest) {
            return tooDeep();
        }
        if (peek() == ')') {
            return fail(QStringLiteral("a structure has fields"));
        }
        while (peek() != ')') {
            if (isAtEnd()) {
                return fail(QStringLiteral("\"(\" has no \")\""));
            }
            if (!type(depth)) {
                return false;
            }
        }
        ++m_position;
        return true;
    }

    bool dictionary(Depth depth)
    {
        depth.arrays = 0;
        if (++depth.dictionaries > Deepest) {
            return tooDeep();
        }
        if (isAtEnd() || !Basic.contains(peek())) {
            return fail(QStringLiteral("the key of a dictionary is a number or a text"));
        }
        return type(depth) && type(depth)
            && (next() == '}' || fail(QStringLiteral("a dictionary has two types, as in a{sv}")));
    }

    bool tooDeep() { return fail(QStringLiteral("it is nested deeper than 32")); }
    bool fail(const QString& problem)
    {
        if (m_problem.isEmpty()) {
            m_problem = problem;
        }
        return false;
    }

    const QByteArray& m_text;
    int m_position = 0;
    bool m_hasDescriptor = false;
    QString m_problem;
};

} // namespace

QString signatureProblem(const QByteArray& signature)
{
    if (signature.size() > Longest) {
        return QStringLiteral("it is longer than 255");
    }
    Walk walk(signature);
    if (!walk.type({})) {
        return walk.problem();
    }
    if (!walk.isAtEnd()) {
        return QStringLiteral("it is more than one type; several go in a structure, as in (is)");
    }
    return walk.hasDescriptor() ? QStringLiteral("h, a file descriptor, cannot be sent") : QString();
}

bool isSignatureList(const QByteArray& types)
{
    Walk walk(types);
    while (!walk.isAtEnd()) {
        if (!walk.type({})) {
            return false;
        }
    }
    return types.size() <= Longest;
}

QList<QByteArray> splitTypes(const QByteArray& types)
{
    QList<QByteArray> split;
    Walk walk(types);
    while (!walk.isAtEnd()) {
        const int begin = walk.position();
        walk.type({});
        split << types.mid(begin, walk.position() - begin);
    }
    return split;
}

QList<QByteArray> partTypes(const QByteArray& signature)
{
    if (isDictionary(signature)) {
        return splitTypes(signature.mid(2, signature.size() - 3));
    }
    return signature.startsWith('(') ? splitTypes(signature.mid(1, signature.size() - 2))
                                     : QList<QByteArray>{ signature.mid(1) };
}

bool isMemberName(const QString& name)
{
    static const QRegularExpression valid(QStringLiteral("\\A[A-Za-z_][A-Za-z0-9_]{0,254}\\z"));
    return valid.match(name).hasMatch();
}

bool isObjectPath(const QString& path)
{
    static const QRegularExpression valid(QStringLiteral("\\A(/|(/[A-Za-z0-9_]+)+)\\z"));
    return valid.match(path).hasMatch();
}

} // namespace bt
