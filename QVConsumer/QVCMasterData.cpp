#include "QVConsumer/QVCMasterData.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "QVConsumer/QVCDocument.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCNumber.h"
#include "platform/QVCUtility.h"

namespace {

const char* const kDocument = "the master data document";

/// The number of entries of the list under key: 0 when the key is missing.
/// A present value of another kind (null included) is a malformed document.
std::size_t entryCount(const QVCJSON& document, const char* key) {
    return QVCDocument::elementCount(QVCDocument::valueForKey(document, key, kDocument), key);
}

/// One entry object of a list, read field by field with messages that name
/// the entry ("states[3]") and the key at fault.
class Entry {
public:
    Entry(const QVCJSON& document, const char* list, std::size_t index)
        : what_(QVCFormat::format(list, "[", index, "]")),
          entry_(QVCDocument::elementAtIndex(*QVCDocument::valueForKey(document, list, kDocument), index, list)) {}

    Entry(const QVCJSON& object, std::string what) : what_(std::move(what)), entry_(object) {}

    /// The member named key; null when missing. Throws when the entry is not an object.
    const QVCJSON* value(const char* key) const { return QVCDocument::valueForKey(entry_, key, what_); }

    bool has(const char* key) const { return value(key) != nullptr; }

    /// True only for the text "Y"; missing and null are false, other kinds throw.
    bool flag(const char* key) const {
        const QVCJSON& flag = QVCUtility::getNonNullValue(value(key));
        if (flag.is_null()) {
            return false;
        }
        if (!flag.is_string()) {
            throw QVCException(field(key) + " is " + QVCDocument::kindName(flag) + ", not a string");
        }
        return flag == "Y";
    }

    /// The integer value of a text or number; missing is 0, null and containers throw.
    std::int64_t integer(const char* key) const { return QVCNumber::integerValue(value(key), field(key)); }

    /// The value as stored in a text property, whatever its kind: its "%@"
    /// text (a number gives its decimal text). Missing and null are absent.
    std::optional<std::string> text(const char* key) const {
        const QVCJSON& text = QVCUtility::getNonNullValue(value(key));
        if (text.is_null()) {
            return std::nullopt;
        }
        return QVCFormat::object(text);
    }

    std::string field(const char* key) const { return what_ + "." + key; }

private:
    std::string what_;
    const QVCJSON& entry_;
};

/// A list of QVCMasterType entries whose code is read from codeKey.
QVCMasterData::MasterTypes readMasterTypes(const QVCJSON& document, const char* list, const char* codeKey) {
    QVCMasterData::MasterTypes types;
    for (std::size_t index = 0; index < entryCount(document, list); ++index) {
        Entry entry(document, list, index);
        auto type = std::make_shared<QVCMasterType>();
        type->activeFlag = entry.flag("activeFlag");
        type->typeDescription = entry.text("description");
        type->typeCode = entry.integer(codeKey);
        type->sortOrder = entry.integer("sortOrder");
        types.push_back(std::move(type));
    }
    return types;
}

std::vector<std::shared_ptr<QVCState>> readStates(const QVCJSON& document) {
    std::vector<std::shared_ptr<QVCState>> states;
    for (std::size_t index = 0; index < entryCount(document, "states"); ++index) {
        Entry entry(document, "states", index);
        auto state = std::make_shared<QVCState>();
        auto stateID = std::make_shared<QVCStateID>();
        // A presence test: any value under the key, "N" and null included, makes the state active.
        state->activeFlag = entry.has("activeFlag");
        state->sortOrder = entry.integer("sortOrder");
        if (const QVCJSON* id = entry.value("id")) {
            Entry key(*id, entry.field("id"));
            stateID->stateCode = key.text("stateCode");
            stateID->countryCode = key.text("countryCode");
        } else {
            stateID->stateCode = std::nullopt;
            stateID->countryCode = std::nullopt;
        }
        state->typeDescription = entry.text("description");
        state->stateID = std::move(stateID);
        states.push_back(std::move(state));
    }
    return states;
}

std::vector<std::shared_ptr<QVCCountry>> readCountries(const QVCJSON& document) {
    std::vector<std::shared_ptr<QVCCountry>> countries;
    const bool hasOccupations = QVCDocument::valueForKey(document, "occupationTypes", kDocument) != nullptr;
    const std::size_t occupations = entryCount(document, "occupationTypes");
    for (std::size_t index = 0; index < entryCount(document, "country"); ++index) {
        Entry entry(document, "country", index);
        auto country = std::make_shared<QVCCountry>();
        country->countryCode = entry.text("countryCode");
        country->activeFlag = entry.flag("activeFlag");
        country->typeDescription = entry.text("description");
        // The service orders countries by the occupation entry at the same
        // index; the country entry's own "sortOrder" is not used.
        if (hasOccupations) {
            if (index >= occupations) {
                throw QVCException(QVCFormat::format(entry.field("sortOrder"), " is read from occupationTypes[", index,
                                                     "], which does not exist: occupationTypes holds ", occupations,
                                                     " elements"));
            }
            country->sortOrder = Entry(document, "occupationTypes", index).integer("sortOrder");
        }
        countries.push_back(std::move(country));
    }
    return countries;
}

}  // namespace

std::shared_ptr<QVCMasterData> QVCMasterData::initWithResponse(const QVCJSON& document) {
    auto data = std::make_shared<QVCMasterData>();
    // The lists are read in this order, so that of several faults the first one met is reported.
    data->ageRangeTypes = readMasterTypes(document, "ageRangeTypes", "ageRangeTypeCode");
    data->genderTypes = {"Male", "Female"};
    data->maritalStatusTypes = readMasterTypes(document, "maritalStatusTypes", "maritalStatusTypeCode");
    data->incomeRangeTypes = readMasterTypes(document, "incomeRangeTypes", "incomeRangeTypeCode");
    data->consumerGroupTypes = readMasterTypes(document, "consumerGroupTypes", "occupationTypeCode");
    data->educationTypes = readMasterTypes(document, "educationTypes", "educationTypeCode");
    data->states = readStates(document);
    data->occupationTypes = readMasterTypes(document, "occupationTypes", "occupationTypeCode");
    data->country = readCountries(document);
    data->merchantTypes = readMasterTypes(document, "merchantTypes", "occupationTypeCode");
    return data;
}
