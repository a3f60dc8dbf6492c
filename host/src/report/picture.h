#pragma once

#include <string>

#include "host/src/report/report.h"

namespace fictl {

/// Shapes and patterns that the pictures refer to; stands once in a page, before all of them.
std::string shapesMarkup();
/// What each mark and bar stands for.
std::string legendMarkup(const SReport& report);

/**
 * The lanes as HTML with a picture in SVG each, below an axis. Places are percentages, so that the picture is as wide
 * as there is room, and marks are never scaled; those that would lie upon each other at the narrowest width are one
 * with a number. A mark is a link to the row of its snapshot, "s" or, of an orphan, "o" and its place in the report;
 * data-rows has all of its rows, data-at its place.
 */
std::string pictureMarkup(const SReport& report);

}  // namespace fictl
