#include "ScriptEngine.h"

#include <duktape.h>

namespace ipc {
namespace {

/// What the engine's objects are kept alive by.
constexpr const char* KeptObjects = "kept";

Error takeError(duk_context* context)
{
    Error error{ Error::Kind::Failed, QString::fromUtf8(duk_safe_to_string(context, -1)) };
    duk_pop(context);
    return error;
}

void pushText(duk_context* context, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    duk_push_lstring(context, utf8.constData(), static_cast<duk_size_t>(utf8.size()));
}

void pushValue(duk_context* context, const QVariant& value)
{
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::Bool:
        duk_push_boolean(context, value.toBool() ? 1 : 0);
        return;
    case QMetaType::QString:
        pushText(context, value.toString());
        return;
    case QMetaType::UnknownType:
        duk_push_undefined(context);
        return;
    default:
        break;
    }
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (isNumber) {
        duk_push_number(context, number);
    } else {
        duk_push_null(context);
    }
}

} // namespace

void ScriptEngine::HeapCloser::operator()(duk_hthread* context) const
{
    duk_destroy_heap(context);
}

ScriptEngine::ScriptEngine()
    : m_context(duk_create_heap_default())
{
    duk_context* context = m_context.get();
    duk_push_global_stash(context);
    duk_push_array(context);
    duk_put_prop_string(context, -2, KeptObjects);
    duk_pop(context);
}

ScriptEngine::~ScriptEngine() = default;

/// Takes the object on top of the stack off it and keeps it.
ScriptEngine::Reference ScriptEngine::keep()
{
    duk_context* context = m_context.get();
    Reference reference = duk_get_heapptr(context, -1);
    duk_push_global_stash(context);
    duk_get_prop_string(context, -1, KeptObjects);
    duk_dup(context, -3);
    duk_put_prop_index(context, -2, m_kept++);
    duk_pop_3(context);
    return reference;
}

Outcome<ScriptEngine::Reference> ScriptEngine::compile(const QString& parameters, const QString& expression)
{
    duk_context* context = m_context.get();
    // As an expression in brackets: statements do not compile. The line break ends a trailing comment.
    pushText(context, QStringLiteral("function(%1){return (%2\n);}").arg(parameters, expression));
    duk_push_string(context, "applicability");
    if (duk_pcompile(context, DUK_COMPILE_FUNCTION) != 0) {
        return takeError(context);
    }
    return keep();
}

Outcome<bool> ScriptEngine::evaluate(Reference function, const std::vector<Reference>& objects) const
{
    duk_context* context = m_context.get();
    duk_require_stack(context, static_cast<duk_idx_t>(objects.size() + 1));
    duk_push_heapptr(context, function);
    for (void* object : objects) {
        duk_push_heapptr(context, object);
    }
    if (duk_pcall(context, static_cast<duk_idx_t>(objects.size())) != 0) {
        return takeError(context);
    }
    const bool truth = duk_to_boolean(context, -1) != 0;
    duk_pop(context);
    return truth;
}

ScriptEngine::Reference ScriptEngine::makeObject()
{
    duk_context* context = m_context.get();
    duk_push_object(context);
    duk_push_object(context);
    duk_put_prop_string(context, -2, "enums");
    return keep();
}

void ScriptEngine::setEnumValue(Reference object, const QString& name, int value) const
{
    duk_context* context = m_context.get();
    duk_push_heapptr(context, object);
    duk_get_prop_string(context, -1, "enums");
    pushText(context, name);
    duk_push_int(context, value);
    duk_put_prop(context, -3);
    duk_pop_2(context);
}

void ScriptEngine::setValue(Reference object, const QVariant& value) const
{
    duk_context* context = m_context.get();
    duk_push_heapptr(context, object);
    pushValue(context, value);
    duk_put_prop_string(context, -2, "value");
    duk_pop(context);
}

} // namespace ipc
