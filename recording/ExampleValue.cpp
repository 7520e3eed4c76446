#include "ExampleValue.h"

#include "Signature.h"

#include <nlohmann/json.hpp>

namespace recording {

namespace {

using Json = nlohmann::json;

Json makeExample(const QByteArray& signature, bool isInner)
{
    switch (signature.at(0)) {
    case 'b':
        return true;
    case 'y':
    case 'q':
    case 'u':
        return 42U;
    case 't':
        return 0x0A0B0C0D0E0FULL; // an address
    case 'd':
        return 0.5;
    case 's':
        return "x";
    case 'o':
        return "/x";
    case 'g':
        return "s";
    case 'v':
        return { { "type", "i" }, { "value", -42 } };
    case 'a':
    case '(':
        break;
    default:
        return -42;
    }
    Json parts = Json::array();
    for (const QByteArray& part : partTypes(signature)) {
        parts.push_back(makeExample(part, true));
    }
    if (isDictionary(signature)) {
        return Json::array({ parts });
    }
    if (signature.startsWith('a') && !isInner) {
        parts.push_back(parts.front()); // within another list it would double with each
    }
    return parts;
}

} // namespace

Json exampleValue(const QByteArray& signature)
{
    return makeExample(signature, false);
}

} // namespace recording
