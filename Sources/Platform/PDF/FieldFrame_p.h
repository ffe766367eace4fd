// What stands behind and around a form field's value.
#pragma once

#include "Platform/Foundation/Geometry.h"

#include <qpdf/QPDFObjectHandle.hh>

#include <initializer_list>
#include <string>
#include <string_view>

namespace orvex {

/// Operands and their operator, on a line.
void appendOperator(std::string& content, std::initializer_list<double> operands, std::string_view operation);

/// What a widget's /MK, /BS and /Border ask for.
struct FieldFrame {
    explicit FieldFrame(QPDFObjectHandle widget);

    std::string fill;   ///< operator that sets the background's colour; empty: none
    std::string stroke; ///< operator that sets the frame's colour; empty: none
    double width = 0;   ///< of the frame in points; 0 where there is none
    char style = 'S';   ///< solid, dashed, bevelled, inset or underline, by their first letters
    std::string dashes; ///< the operator for a dashed frame

    /// The operators that draw both in a box from (0, 0).
    [[nodiscard]] std::string rectangle(Size box) const;
    /// As a circle: radio buttons.
    [[nodiscard]] std::string circle(Size box) const;
    /// Lines between the cells of a comb.
    [[nodiscard]] std::string dividers(Size box, int cells) const;
};

} // namespace orvex
