// Kel/String.h: the framework's string is the standard one; the alias keeps
// the library's signatures in the framework's vocabulary.
//
//   Kel::String text = list->toStrep();
#pragma once

#include <string>

namespace Kel {

using String = std::string;

} // namespace Kel
