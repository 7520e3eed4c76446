#pragma once

#include <QString>
#include <QVariant>

#include <memory>
#include <vector>

struct duk_hthread;

namespace ipc {

/// Compiles and evaluates JavaScript expressions. A thin cover over Duktape; nothing else knows which engine
/// it is.
class ScriptEngine
{
public:
    ScriptEngine();
    ~ScriptEngine();
    ScriptEngine(const ScriptEngine&) = delete;
    ScriptEngine& operator=(const ScriptEngine&) = delete;

    /// A reference to something that the engine keeps as long as it lives; null is "none".
    using Reference = void*;

    /// @param parameters the names that stand for the objects given to evaluate(), separated by commas.
    /// @param error says what is wrong and in which line, when the expression does not compile.
    /// @return a function to evaluate(), or null.
    Reference compile(const QString& parameters, const QString& expression, QString* error);
    /// The expression's truth, as JavaScript sees it. An expression that throws is false.
    [[nodiscard]] bool evaluate(Reference function, const std::vector<Reference>& objects,
                                QString* error) const;

    /// Makes an object with an empty "enums", for setEnumValue() and setValue().
    Reference makeObject();
    void setEnumValue(Reference object, const QString& name, int value) const;
    /// Sets "value".
    void setValue(Reference object, const QVariant& value) const;

private:
    struct HeapCloser
    {
        void operator()(duk_hthread* context) const;
    };
    std::unique_ptr<duk_hthread, HeapCloser> m_context;
    unsigned m_kept = 0;

    Reference keep();
};

} // namespace ipc
