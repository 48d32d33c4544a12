#pragma once

namespace heron {

/// Has the HTTPS connections of the whole process accept any certificate.
void accept_any_certificate();

}  // namespace heron
