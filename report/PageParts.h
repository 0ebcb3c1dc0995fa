#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "report/HtmlText.h"

/// What the sections of a page are made of. Any thread.
namespace tovi::report {

/// How many names a table lists.
inline constexpr std::size_t kListedNames = 25;

/// Begins a section, which the caller ends. `id` is its class, by which the style sheet colours it;
/// `counted` says what its figures count.
void beginSection(HtmlText& page, std::string_view id, std::string_view title,
                  std::string_view counted);
/// A name of a thousand characters is cut, and unfolded by whoever wants to see all of it.
void writeName(HtmlText& page, std::string_view name);
/// A bar as long as `part` of `whole`, for a cell of a table.
void writeShareBar(HtmlText& page, std::uint64_t part, std::uint64_t whole);
/// One entry of a list of facts; `id` is unique in the page.
void writeFact(HtmlText& page, std::string_view id, std::string_view title,
               const std::string& value);

}  // namespace tovi::report
