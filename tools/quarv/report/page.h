#pragma once

#include <string_view>

namespace quarv::cli {

/// The page that shows a report, report/page.html. The word REPORT_DATA in it is to be replaced by the data,
/// a JSON object.
std::string_view report_page();

}  // namespace quarv::cli
