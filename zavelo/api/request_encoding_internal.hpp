#pragma once

#include <vector>

#include "zavelo/api/api_service.hpp"

namespace zavelo::detail {

/// The files of a form. Their bytes are moved, and shared by the requests that are made of them.
[[nodiscard]] std::vector<HttpFormPart> formParts(std::vector<ZVMultiPartData> files);

/// The HTTP request of a call: a JSON body, a URL-encoded one or a multipart form. Fails when the
/// parameters hold what the encoding cannot say.
[[nodiscard]] Result<HttpRequest, HttpFailure> httpRequest(const ZVEndpointRequest& request,
                                                           const std::vector<HttpFormPart>& files,
                                                           std::vector<HttpHeader> headers);

}  // namespace zavelo::detail
