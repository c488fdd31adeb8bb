// What is shown for the place under the mouse or the cursor.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_HOVER_H
#define ECLIPSE_INT_LANGUAGE_SERVER_HOVER_H

#include <string>
#include <vector>

#include "language_server/document.h"
#include "language_server/positions.h"

namespace eclipse_language_server {

/// What these rules are about, each once, in Markdown.
std::string description_of(const std::vector<std::string>& rules);

/// What the plug-in does with the column at a position of a descriptor file, in Markdown.
std::string description_of_column(const Document& document, const Position& position, PositionEncoding encoding);

/// The column that a place in a line is in, from 0.
std::size_t column_at(std::string_view line, std::size_t offset);

}  // namespace eclipse_language_server

#endif
