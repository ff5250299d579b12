#pragma once

#include <optional>
#include <string>

#include "platform/QVCResponse.h"

/// The fixed table of the requests the library sends (ten operations; sign-up
/// and profile update share one shape): a method, literal text, and one
/// placeholder per inserted value, either a whole path segment or the value of
/// the request's one query key ("facilityId" or "offerCode").
///
/// Both platform transports check every request against the table before
/// anything is sent or answered, so that caller text inserted into a path (a
/// user name, an offer code or id, the consumer id) cannot change the method,
/// the endpoint or the query keys of a request. A request is refused when its
/// method and path fit no shape, or when an inserted value
/// - in a path segment is empty, is "." or "..", or holds "/", "?" or "#";
/// - in the query holds "?", "#" or "&" (a second query key).
/// Values that fit are percent-encoded for their position (RFC 3986): a path
/// segment keeps the unreserved characters, ":", "@" and the sub-delimiters
/// but ";" (a path parameter to some servers); a query value keeps the
/// unreserved characters, ":", "@", "/" and the sub-delimiters but "&", "=",
/// "+" and ";", which form decoders read as separators or spaces. Every other
/// byte, "%" included, is encoded: the value is text, not an encoded URL part.
class QVCRequestShapes {
public:
    /// How a request compares with the table.
    struct Checked {
        /// The path to send, every inserted value percent-encoded; none when refused.
        std::optional<std::string> target;
        /// The request's template, such as "lqsapi/consumers/v1/consumer/{user name}/authenticate",
        /// or "(no known request)": it names the request in messages without repeating caller text.
        std::string shape;
        /// Why the request was refused, naming the part at fault; empty when it fits.
        std::string fault;

        /// The answer to a refused request: an error record of kind PathRefused,
        /// "METHOD shape: fault; nothing was sent".
        QVCResponse refusal(const std::string& method) const;
    };

    /// Checks a request of method ("GET" or "POST") for pathWithQuery, as the library built it.
    static Checked check(const std::string& method, const std::string& pathWithQuery);
};
