#pragma once

#include <string>
#include <string_view>

namespace zavelo::sandbox {

/// JSON for a person's eyes: passwords are hidden, and of tokens only enough is left to tell one
/// from another. Works on text that is not valid JSON or ends anywhere, too.
[[nodiscard]] std::string withoutSecrets(std::string_view json);

/// The same for one value: of a header, or of a field of a form.
[[nodiscard]] std::string withoutSecret(std::string_view name, std::string_view value);

}  // namespace zavelo::sandbox
