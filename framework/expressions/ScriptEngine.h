#pragma once

#include "Outcome.h"

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

    /// A reference to something that the engine keeps as long as it lives.
    using Reference = void*;

    /// A function to evaluate(); the error says what is wrong with the expression and in which line.
    /// @param parameters the names that stand for the objects given to evaluate(), separated by commas.
    [[nodiscard]] Outcome<Reference> compile(const QString& parameters, const QString& expression);
    /// The expression's truth, as JavaScript sees it; an expression that throws is an error.
    [[nodiscard]] Outcome<bool> evaluate(Reference function, const std::vector<Reference>& objects) const;

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
