#include "QVConsumer/QVCDocument.h"

#include "QVConsumer/QVCException.h"

namespace {

[[noreturn]] void throwAbsent(const std::string& key) {
    throw QVCException("attempt to insert an absent value for key \"" + key + "\"");
}

}  // namespace

void QVCDocument::setObject(QVCJSON& object, const std::string& key, const std::optional<std::string>& value) {
    if (!value) {
        throwAbsent(key);
    }
    object[key] = *value;
}

void QVCDocument::setObject(QVCJSON& object, const std::string& key, const std::optional<QVCJSON>& value) {
    if (!value) {
        throwAbsent(key);
    }
    object[key] = *value;
}
