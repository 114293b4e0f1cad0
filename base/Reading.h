#pragma once

namespace karta {

/**
 * How a file's cells become a table's. Classic holds the rules that tables of years ago depend on; complete
 * loses nothing.
 */
enum class Reading { Classic, Complete };

}  // namespace karta
