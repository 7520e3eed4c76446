#include "JsonTree.h"

#include "Escaped.h"
#include "Quoted.h"

#include <QRegularExpression>
#include <QSet>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace bt {

namespace {

/// Far beyond what any file of ours needs, and far below what the stack bears.
constexpr std::size_t DeepestNesting = 32;
constexpr int LongestWords = 200;

/// What the parser reads through: it counts the lines, which the parser does not tell to its handlers. The
/// parser may be one character ahead, behind a number; that one is no part of a value, so that the line of
/// the last character that is no blank is the line of the value.
class CountingIterator
{
public:
    // What the standard library asks of an input iterator.
    using iterator_category = std::input_iterator_tag; // NOLINT(readability-identifier-naming)
    using value_type = char; // NOLINT(readability-identifier-naming)
    using difference_type = std::ptrdiff_t; // NOLINT(readability-identifier-naming)
    using pointer = const char*; // NOLINT(readability-identifier-naming)
    using reference = const char&; // NOLINT(readability-identifier-naming)

    struct Lines
    {
        int now = 1;
        int ofValue = 1;
        bool isBehindReturn = false;
    };

    CountingIterator(const char* position, Lines* lines)
        : m_position(position)
        , m_lines(lines)
    {
    }
    reference operator*() const { return *m_position; }
    CountingIterator& operator++()
    {
        const char passed = *m_position++;
        // A line ends with a line feed, a carriage return, or both.
        if (passed == '\r' || (passed == '\n' && !m_lines->isBehindReturn)) {
            ++m_lines->now;
        } else if (passed != ' ' && passed != '\t' && passed != '\n') {
            m_lines->ofValue = m_lines->now;
        }
        m_lines->isBehindReturn = passed == '\r';
        return *this;
    }
    bool operator==(const CountingIterator& other) const { return m_position == other.m_position; }
    bool operator!=(const CountingIterator& other) const { return m_position != other.m_position; }

private:
    const char* m_position;
    Lines* m_lines;
};

/// Builds the tree from what the parser tells. Its functions are named by the parser's interface.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json>
{
public:
    explicit TreeBuilder(const CountingIterator::Lines& lines)
        : m_lines(lines)
    {
    }

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override { return add(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t& /*text*/) override { return add(value); }
    bool string(string_t& value) override { return add(QString::fromStdString(value)); }
    bool binary(binary_t& /*value*/) override { return false; } // no such thing in a text
    bool start_object(std::size_t /*size*/) override { return open(JsonValue::Members()); }
    bool start_array(std::size_t /*size*/) override { return open(JsonValue::Elements()); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override
    {
        Frame& frame = m_open.back();
        frame.name = QString::fromStdString(name);
        frame.nameLine = m_lines.ofValue;
        if (frame.names.contains(frame.name)) {
            return fail(
                QStringLiteral("%1 stands here twice; leave one of them").arg(base::quoted(frame.name)));
        }
        frame.names.insert(frame.name);
        return true;
    }

    /// The library's own words, of which only the place is told in our way.
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::json::exception& error) override
    {
        static const QRegularExpression place(
            QStringLiteral("^\\[[^]]*\\] (parse error at line \\d+, column \\d+: )?"));
        QString text = QString::fromUtf8(error.what()).remove(place);
        if (text.size() > LongestWords) {
            text = text.left(LongestWords) + QChar(0x2026);
        }
        return fail(QStringLiteral("this is no JSON: ") + base::escaped(text));
    }

    [[nodiscard]] base::Result<JsonValue> take(bool parsed)
    {
        return parsed ? base::Result<JsonValue>(std::move(m_root)) : tl::unexpected(m_error);
    }

private:
    struct Frame
    {
        JsonValue value;
        QString name; ///< of the member that comes
        int nameLine = 0;
        QSet<QString> names;
    };

    bool fail(const QString& text)
    {
        m_error = { text, base::Failure::InvalidArgument, m_lines.ofValue };
        return false;
    }

    template <typename Content>
    bool add(Content&& content)
    {
        JsonValue value;
        value.line = m_lines.ofValue;
        value.content = std::forward<Content>(content);
        return put(std::move(value));
    }

    template <typename Container>
    bool open(Container container)
    {
        if (m_open.size() == DeepestNesting) {
            return fail(
                QStringLiteral("objects and lists are nested more than %1 deep here").arg(DeepestNesting));
        }
        Frame frame;
        frame.value.line = m_lines.ofValue;
        frame.value.content = std::move(container);
        m_open.push_back(std::move(frame));
        return true;
    }

    bool close()
    {
        JsonValue value = std::move(m_open.back().value);
        m_open.pop_back();
        return put(std::move(value));
    }

    bool put(JsonValue value)
    {
        if (m_open.empty()) {
            m_root = std::move(value);
            return true;
        }
        Frame& frame = m_open.back();
        if (auto* members = std::get_if<JsonValue::Members>(&frame.value.content)) {
            value.line = frame.nameLine;
            members->emplace_back(frame.name, std::move(value));
        } else {
            std::get<JsonValue::Elements>(frame.value.content).push_back(std::move(value));
        }
        return true;
    }

    const CountingIterator::Lines& m_lines;
    std::vector<Frame> m_open;
    JsonValue m_root;
    base::Error m_error;
};

} // namespace

base::Result<JsonValue> parseJson(const QByteArray& text)
{
    CountingIterator::Lines lines;
    TreeBuilder builder(lines);
    const char* const begin = text.constData();
    const char* const end = begin + text.size();
    // The parser takes it for the end.
    if (const char* const zero = std::find(begin, end, '\0'); zero != end) {
        CountingIterator position(begin, &lines);
        while (position != CountingIterator(zero, &lines)) {
            ++position;
        }
        return base::error(QStringLiteral("this is no JSON: a zero byte stands here"),
                           base::Failure::InvalidArgument, lines.now);
    }
    const bool parsed =
        nlohmann::json::sax_parse(CountingIterator(begin, &lines), CountingIterator(end, &lines), &builder);
    return builder.take(parsed);
}

} // namespace bt
