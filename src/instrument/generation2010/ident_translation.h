// From the idents of generation 2010 to the view idents of the channel tables.
#pragma once

#include <cstdint>

namespace nelto {

/// The view ident of an ident of generation 2010; one that is not in the table stays as it is.
[[nodiscard]] std::uint32_t ViewIdentOf(std::uint32_t ident_2010);

}  // namespace nelto
