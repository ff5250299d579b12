#include "QVConsumer/QVCMasterData.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCReader.h"

namespace {

/// A list of QVCMasterType entries whose code is read from codeKey. A missing
/// list is empty; any other value that is not a list (null included) raises.
QVCMasterData::MasterTypes readMasterTypes(const QVCReader& document, const char* list, const char* codeKey) {
    const QVCReader entries = document.member(list);
    QVCMasterData::MasterTypes types;
    types.reserve(entries.count());
    entries.forEach([&](const QVCReader& entry) {
        auto type = entry.make<QVCMasterType>();
        type->activeFlag = entry.flagOrRaise("activeFlag");
        type->typeDescription = entry.text("description");
        type->typeCode = entry.integerOrRaise(codeKey);
        type->sortOrder = entry.integerOrRaise("sortOrder");
        types.push_back(std::move(type));
    });
    return types;
}

std::vector<std::shared_ptr<QVCState>> readStates(const QVCReader& document) {
    const QVCReader entries = document.member("states");
    std::vector<std::shared_ptr<QVCState>> states;
    states.reserve(entries.count());
    entries.forEach([&](const QVCReader& entry) {
        auto state = entry.make<QVCState>();
        auto stateID = entry.make<QVCStateID>();
        // A presence test: any value under the key, "N" and null included, makes the state active.
        state->activeFlag = entry.has("activeFlag");
        state->sortOrder = entry.integerOrRaise("sortOrder");
        // A present "id" (null included) must be an object; a missing one leaves both codes absent.
        const QVCReader id = entry.member("id");
        stateID->stateCode = id.text("stateCode");
        stateID->countryCode = id.text("countryCode");
        state->typeDescription = entry.text("description");
        state->stateID = std::move(stateID);
        states.push_back(std::move(state));
    });
    return states;
}

std::vector<std::shared_ptr<QVCCountry>> readCountries(const QVCReader& document) {
    std::vector<std::shared_ptr<QVCCountry>> countries;
    const QVCReader occupations = document.member("occupationTypes");
    const std::size_t occupationCount = occupations.count();
    const QVCReader entries = document.member("country");
    countries.reserve(entries.count());
    std::size_t index = 0;
    entries.forEach([&](const QVCReader& entry) {
        auto country = entry.make<QVCCountry>();
        country->countryCode = entry.text("countryCode");
        country->activeFlag = entry.flagOrRaise("activeFlag");
        country->typeDescription = entry.text("description");
        // The service orders countries by the occupation entry at the same
        // index; the country entry's own "sortOrder" is not used.
        if (occupations.value()) {
            if (index >= occupationCount) {
                throw QVCException(QVCFormat::format(entry.pathOf("sortOrder"), " is read from occupationTypes[", index,
                                                     "], which does not exist: occupationTypes holds ", occupationCount,
                                                     " elements"));
            }
            country->sortOrder = occupations.element(index).integerOrRaise("sortOrder");
        }
        countries.push_back(std::move(country));
        ++index;
    });
    return countries;
}

}  // namespace

std::shared_ptr<QVCMasterData> QVCMasterData::initWithResponse(QVCAnswerValue response) {
    // The 70-odd small records of the answer share the arena's blocks.
    QVCRecordArena arena;
    const QVCReader document(response, "the master data document", arena);
    auto data = document.make<QVCMasterData>();
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

std::shared_ptr<QVCMasterData> QVCMasterData::initWithResponse(const QVCJSON& document) {
    return QVCReader::read<QVCMasterData>(document);
}
