#pragma once

namespace heron {

/// Has HTTPS connections of the process accept any certificate: studios' own servers sign theirs themselves.
void accept_any_certificate();

}  // namespace heron
