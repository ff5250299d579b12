#include "platform/QVCWebServiceHandler.h"

std::string QVCHTTPMethodName(std::int64_t httpMethod) {
    switch (httpMethod) {
        case QVCHTTPMethodGet: return "GET";
        case QVCHTTPMethodPost: return "POST";
        default: return "method " + std::to_string(httpMethod);
    }
}
