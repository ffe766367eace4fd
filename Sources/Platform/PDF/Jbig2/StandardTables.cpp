// The tables of ITU-T T.88, annex B.5.
#include "Platform/PDF/Jbig2/Huffman_p.h"

#include <array>

namespace orvex::jbig2 {

namespace {

using Lines = std::vector<HuffmanLine>;

constexpr unsigned open = 32;

HuffmanLine below(unsigned codeBits, std::int32_t highest) {
    return {codeBits, open, highest, HuffmanLine::Kind::downwards};
}

HuffmanLine apart(unsigned codeBits) {
    return {codeBits, 0, 0, HuffmanLine::Kind::apart};
}

Lines sizes(unsigned number) {
    switch (number) {
    case 1:
        return {{1, 4, 0}, {2, 8, 16}, {3, 16, 272}, {3, open, 65808}};
    case 2:
        return {{1, 0, 0}, {2, 0, 1}, {3, 0, 2}, {4, 3, 3}, {5, 6, 11}, {6, open, 75}, apart(6)};
    case 3:
        return {{8, 8, -256}, {1, 0, 0},      {2, 0, 1},     {3, 0, 2}, {4, 3, 3},
                {5, 6, 11},   below(8, -257), {7, open, 75}, apart(6)};
    case 4:
        return {{1, 0, 1}, {2, 0, 2}, {3, 0, 3}, {4, 3, 4}, {5, 6, 12}, {5, open, 76}};
    default:
        return {{7, 8, -255}, {1, 0, 1}, {2, 0, 2}, {3, 0, 3}, {4, 3, 4}, {5, 6, 12}, below(7, -256), {6, open, 76}};
    }
}

Lines positions(unsigned number) {
    switch (number) {
    case 6:
        return {{5, 10, -2048}, {4, 9, -1024}, {4, 8, -512},    {4, 7, -256},   {5, 6, -128},
                {5, 5, -64},    {4, 5, -32},   {2, 7, 0},       {3, 7, 128},    {3, 8, 256},
                {4, 9, 512},    {4, 10, 1024}, below(6, -2049), {6, open, 2048}};
    case 7:
        return {{4, 9, -1024}, {3, 8, -512}, {4, 7, -256},  {5, 6, -128},    {5, 5, -64},
                {4, 5, -32},   {4, 5, 0},    {5, 5, 32},    {5, 6, 64},      {4, 7, 128},
                {3, 8, 256},   {3, 9, 512},  {3, 10, 1024}, below(5, -1025), {5, open, 2048}};
    case 8:
        return {{8, 3, -15}, {9, 1, -7},  {8, 1, -5},  {9, 0, -3},   {7, 0, -2},    {4, 0, -1},      {2, 1, 0},
                {5, 0, 2},   {6, 0, 3},   {3, 4, 4},   {6, 1, 20},   {4, 4, 22},    {4, 5, 38},      {5, 6, 70},
                {5, 7, 134}, {6, 7, 262}, {7, 8, 390}, {6, 10, 646}, below(9, -16), {9, open, 1670}, apart(2)};
    case 9:
        return {{8, 4, -31},   {9, 2, -15},   {8, 2, -11},     {9, 1, -7},  {7, 1, -5},  {4, 1, -3},
                {3, 1, -1},    {3, 1, 1},     {5, 1, 3},       {6, 1, 5},   {3, 5, 7},   {6, 2, 39},
                {4, 5, 43},    {4, 6, 75},    {5, 7, 139},     {5, 8, 267}, {6, 8, 523}, {7, 9, 779},
                {6, 11, 1291}, below(9, -32), {9, open, 3339}, apart(2)};
    default:
        return {{7, 4, -21}, {8, 0, -5},  {7, 0, -4},    {5, 0, -3},    {2, 2, -2},    {5, 0, 2},       {6, 0, 3},
                {7, 0, 4},   {8, 0, 5},   {2, 6, 6},     {5, 5, 70},    {6, 5, 102},   {6, 6, 134},     {6, 7, 198},
                {6, 8, 326}, {6, 9, 582}, {6, 10, 1094}, {7, 11, 2118}, below(8, -22), {8, open, 4166}, apart(2)};
    }
}

Lines heights(unsigned number) {
    switch (number) {
    case 11:
        return {{1, 0, 1},  {2, 1, 2},  {4, 0, 4},  {4, 1, 5},  {5, 1, 7},  {5, 2, 9},     {6, 2, 13},
                {7, 2, 17}, {7, 3, 21}, {7, 4, 29}, {7, 5, 45}, {7, 6, 77}, {7, open, 141}};
    case 12:
        return {{1, 0, 1},  {2, 0, 2},  {3, 1, 3},  {5, 0, 5},  {5, 1, 6},  {6, 1, 8},    {7, 0, 10},
                {7, 1, 11}, {7, 2, 13}, {7, 3, 17}, {7, 4, 25}, {8, 5, 41}, {8, open, 73}};
    default:
        return {{1, 0, 1},  {3, 0, 2},  {4, 0, 3},  {5, 0, 4},  {4, 1, 5},  {3, 3, 7},     {6, 1, 15},
                {6, 2, 17}, {6, 3, 21}, {6, 4, 29}, {6, 5, 45}, {7, 6, 77}, {7, open, 141}};
    }
}

Lines refinements(unsigned number) {
    if (number == 14) {
        return {{3, 0, -2}, {3, 0, -1}, {1, 0, 0}, {3, 0, 1}, {3, 0, 2}};
    }
    return {{7, 4, -24}, {6, 2, -8}, {5, 1, -4}, {4, 0, -2}, {3, 0, -1},    {1, 0, 0},    {3, 0, 1},
            {4, 0, 2},   {5, 1, 3},  {6, 2, 5},  {7, 4, 9},  below(7, -25), {7, open, 25}};
}

Lines linesOf(unsigned number) {
    return number < 6    ? sizes(number)
           : number < 11 ? positions(number)
           : number < 14 ? heights(number)
                         : refinements(number);
}

} // namespace

const HuffmanTablePtr& HuffmanTable::standard(unsigned number) {
    static const auto tables = [] {
        std::array<HuffmanTablePtr, 15> made;
        for (unsigned i = 0; i < made.size(); ++i) {
            made[i] = std::make_shared<const HuffmanTable>(linesOf(i + 1));
        }
        return made;
    }();
    return tables.at(number - 1);
}

} // namespace orvex::jbig2
