#pragma once

#include <memory>
#include <string>
#include <vector>

#include "QVConsumer/QVCCountry.h"
#include "QVConsumer/QVCMasterType.h"
#include "QVConsumer/QVCState.h"
#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCAnswerDocument.h"
#include "platform/QVCJSON.h"

/// The service's reference lists, from which sign-up and profile forms offer
/// their choices. Every list keeps the document's order (nothing is sorted).
struct QVCONSUMER_EXPORT QVCMasterData {
    using MasterTypes = std::vector<std::shared_ptr<QVCMasterType>>;  ///< One code list.

    MasterTypes ageRangeTypes;  ///< Age ranges.
    /// Always "Male", "Female" once read: the service sends no gender list.
    std::vector<std::string> genderTypes;
    MasterTypes maritalStatusTypes;                    ///< Marital statuses.
    MasterTypes incomeRangeTypes;                      ///< Income ranges.
    MasterTypes consumerGroupTypes;                    ///< Consumer groups.
    MasterTypes educationTypes;                        ///< Education levels.
    std::vector<std::shared_ptr<QVCState>> states;     ///< States.
    MasterTypes occupationTypes;                       ///< Occupations.
    std::vector<std::shared_ptr<QVCCountry>> country;  ///< Countries.
    MasterTypes merchantTypes;                         ///< Merchant types.

    /// Reads the master data document (the object under "consumerRs").
    ///
    /// Each list key holds an array of entry objects; a missing list gives an
    /// empty list. Per entry: "activeFlag" is true only for the text "Y"
    /// (missing or null: false); codes and "sortOrder" take the integer value
    /// of a text or number (missing: 0); "description" and the state and
    /// country codes are kept as their "%@" text (a number 12 becomes "12"),
    /// and a missing or null one leaves the property absent.
    ///
    /// The service's format has quirks that are read as the service means them:
    /// consumer groups and merchant types carry their code under
    /// "occupationTypeCode"; a state is active whenever its entry has an
    /// "activeFlag" key at all (even "N" or null); a country's sort position is
    /// the "sortOrder" of the occupation entry at the same index (0 for all
    /// when there is no occupation list); the country entry's own is ignored.
    ///
    /// Throws QVCException (no partial record is returned) when the document is not an
    /// object, a list or a state's "id" is present (null included) but of
    /// another kind, an entry is not an object, a non-state "activeFlag" is
    /// present but not a text, a code or sort value has no integer value (a
    /// null, an array, an object), or the country list is longer than a
    /// present occupation list. Messages name the list, index and key, e.g.
    /// "ageRangeTypes[2].sortOrder is null and has no integer value".
    static std::shared_ptr<QVCMasterData> initWithResponse(QVCAnswerValue document);
    /// The same for a document built in memory: written as JSON text and parsed once.
    static std::shared_ptr<QVCMasterData> initWithResponse(const QVCJSON& document);
};
