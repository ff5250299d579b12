#include "Input.h"

#include <charconv>
#include <cmath>
#include <sstream>

#include "Failure.h"
#include "QVConsumer/QVCProduct.h"
#include "platform/QVCSimulationFile.h"

namespace {

std::int64_t parseInteger(const std::string& text, const std::string& what) {
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, value);
    if (text.empty() || result.ec != std::errc() || result.ptr != end) {
        throw Failure(ExitUsage, what + " \"" + text + "\" is not an integer");
    }
    return value;
}

}  // namespace

double parseAmount(const std::string& text, const std::string& what, const std::string& context) {
    double value = 0;
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, value);
    const std::string quoted = what + " \"" + text + "\"" + context;
    if (text.empty() || result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
        throw Failure(ExitUsage, quoted + " is not a number");
    }
    if (value < 0) {
        throw Failure(ExitUsage, quoted + " is negative");
    }
    return value;
}

std::shared_ptr<QVCProduct> parseBasketItem(const std::string& item) {
    std::vector<std::string> parts;
    std::stringstream stream(item);
    for (std::string part; std::getline(stream, part, ':');) {
        parts.push_back(part);
    }
    if (parts.size() < 2 || parts.size() > 3) {
        throw Failure(ExitUsage, "basket item \"" + item + "\" is not ID:PRICE[:QUANTITY]");
    }
    auto product = std::make_shared<QVCProduct>();
    product->productId = parseInteger(parts[0], "product id in basket item \"" + item + "\":");
    parseAmount(parts[1], "price", " in basket item \"" + item + "\"");
    product->price = parts[1];
    product->quantity = parts.size() == 3 ? parseInteger(parts[2], "quantity in basket item \"" + item + "\":") : 1;
    if (product->quantity < 1) {
        throw Failure(ExitUsage, "quantity in basket item \"" + item + "\" must be at least 1");
    }
    return product;
}

void checkGlobalOptions(const GlobalOptions& options) {
    if (options.simulationFile) {
        try {
            QVCSimulationFile::load(*options.simulationFile);
        } catch (const QVCSimulationFile::Invalid& invalid) {
            throw Failure(ExitUsage, invalid.what());
        }
    }
    if (options.environment == "live" && options.serviceURL) {
        const std::string& url = *options.serviceURL;
        const std::size_t hostStart = url.find("://") == std::string::npos ? 0 : url.find("://") + 3;
        const std::string scheme = url.substr(0, hostStart);
        const bool spaced = url.find_first_of(" \t\r\n") != std::string::npos;
        if ((scheme != "http://" && scheme != "https://") || spaced ||
            url.find_first_of("/?#", hostStart) == hostStart || hostStart == url.size()) {
            throw Failure(ExitUsage, "service URL \"" + url + "\" is not http://HOST[:PORT][/PATH] or https://...");
        }
    }
}
