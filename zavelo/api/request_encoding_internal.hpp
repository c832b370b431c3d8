#pragma once

#include <vector>

#include "zavelo/api/api_service.hpp"

namespace zavelo::detail {

/// The HTTP request of a call: a JSON body, a URL-encoded one or a multipart form. Fails when the
/// parameters hold what the encoding cannot say.
[[nodiscard]] Result<HttpRequest, HttpFailure> httpRequest(const ZVEndpointRequest& request,
                                                           std::vector<HttpHeader> headers);

}  // namespace zavelo::detail
