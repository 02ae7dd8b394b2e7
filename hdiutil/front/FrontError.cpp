#include "hdiutil/front/FrontError.h"

#include <cerrno>
#include <system_error>

namespace hdi {

std::string errorText(int error) {
    if (error == EBUSY) {
        return "Resource busy";
    }
    return std::generic_category().message(error);
}

} // namespace hdi
