#include "algorithm/isp/isp.Data.h"

namespace algorithm::isp {

uint32_t reverseBits(uint32_t value) {
    static const uint8_t nibbles[16] = {0x0, 0x8, 0x4, 0xC, 0x2, 0xA, 0x6, 0xE, 0x1, 0x9, 0x5, 0xD, 0x3, 0xB, 0x7, 0xF};
    uint32_t result = 0;
    for (int i = 0; i < 8; ++i) {
        result = (result << 4) | nibbles[value & 0xF];
        value >>= 4;
    }
    return result;
}

const HuffmanCodeword Data::prefix_tab_huff[37] = {
    {0x5D8, 11}, {0x58, 8},   {0x40, 8},   {0xC0, 8},   {0x0, 8},    {0x78, 7},   {0x2B, 6},   {0x14, 5},
    {0xC, 5},    {0x1C, 5},   {0x1B, 5},   {0xB, 6},    {0x10, 5},   {0x20, 6},   {0x38, 7},   {0x18, 7},
    {0xD8, 9},   {0xBD8, 12}, {0x180, 10}, {0x680, 11}, {0x380, 11}, {0xF80, 12}, {0x780, 12}, {0x480, 11},
    {0x80, 11},  {0x280, 11}, {0x3D8, 12}, {0xFD8, 12}, {0x7D8, 12}, {0x9D8, 12}, {0x1D8, 12}, {0x4, 5},
    {0x1, 2},    {0x2, 2},    {0x7, 3},    {0x3, 4},    {0x8, 5},
};

namespace {

// preset_1k_rsrc
const char preset_1k_rsrc_literal[] =
        "45788999979998999999999a99aa9a9959999a999999997998999999999999999899889999999789"
        "799779999a9aaa9995987598879988557a585899999a99a99aaaaaaa9aaaaaaa9aaaaaaaaaaaaaaa"
        "9aaaaaaa99aaaaaaaaaaaaaaaa9aaaaa9aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa9aaaaaaaaaaa99aa"
        "9aaaaaaa9aaa9a956558999999aaa9aaaaaaaaaaaaaaaaaaaaa9a999a9a9a9a9aaa9a9aa999699a9"
        "5";
const char preset_1k_rsrc_match[] =
        "456677677768788889698989998a5979698a9a8899798989886998899a899a8a8888897a699b7889"
        "8a7869a99a8b9b9a9898888a99aa89888b98899a8baa8a9a899b9b9aabac9cabab9aababababaaa9"
        "998768bb9cac9bbbacbbacabaaababbb9cacbcabacbcbcbcacbcbbacabacacacabbbabbbacbcaabb"
        "9cbcabacabacaba754667778877686779899abbbcbabcbcbccccbccbcbcbdbcadaeedefegffiii9i"
        "8";
const char preset_1k_rsrc_distance[] = "56333333346";

// preset_3k_rsrc
const char preset_3k_rsrc_literal[] =
        "4778788887878798889999aa9aaaaa9959899ba9899989788899999a999a99a98877788988998878"
        "7a8779999aabbba9868775777698676679666788889a9a9989aa9aa99aaaaaaa9aabaaaaaaababaa"
        "9baaaaaa99abababacabacbcacababbb9abbbccaaabbabaa9bababbbabbcbbaaabaabbcaabbcbbab"
        "9cabbbababab9a97356677888999baaacdbccbdccbccdcededfdeffedffefeffefddeffeeggfffcf"
        "a";
const char preset_3k_rsrc_match[] =
        "566667777778787778888989899979886989898989898988888989899a8a899888788989798a8989"
        "898889999a9b9a9a88898889989a89888b8789999a9a9a98899a9a9a8a9a9bab9baaab9b9a9b9baa"
        "9a998a9b999bab9b9b9bababab9aabaa8a9aab9b9aab9aa99a9a9a9a9b9baa9a9b9b9b9a9b9b9b9a"
        "8b9a9a9a8a898987445666777788878899aaaaaabbaacbbccbccbccccccbcbdcdcdeeefdedeiih7g"
        "9";
const char preset_3k_rsrc_distance[] = "5644333334446";

// preset_5k_rsrc
const char preset_5k_rsrc_literal[] =
        "6666698849898999899a8aaa9aaa9aa9998a9a9a9a9a99898999aaaa999a9a9978898999899a9989"
        "8988899999aaaaa98898978898aa89888a88889999aaaaa9799aaaaa9aaaaaa99aaaaaaaa9aaaaaa"
        "9aaaaaaa999aaaaaaaaaaaaaaa9aaaa989aaaaaaaaaa9aaa9aaaaaaaaaaaaaa99aaaaaa9aaaaaa99"
        "9aaaaaa99a998989466678899aaa9aaaaaaaaaaaaaaaaa7aaa7aa7777767a77a77767667766969a6"
        "a";
const char preset_5k_rsrc_match[] =
        "56666777687879887789999a899a8a986a8a8a99999a998989899a9a998a9ba88889799a898b9a9a"
        "89999899aaacabaa89998988a9ab8a998c8999989a9caaa87ba9ab9b7bacacab9b9cacaca9bcacab"
        "9a9a9bbc9a8cbc9cacadacacaca9aca98bacacacabac8cabaaac9bacacbca9ac9aacababac8c9c8c"
        "8babab9a8a99898743556566778887779899b9b9899bcbccddcdedededddcddcddeeddeeeefihi8g"
        "a";
const char preset_5k_rsrc_distance[] = "67443333344457";

// preset_1k_bin_data
const char preset_1k_bin_data_literal[] =
        "266778787889899988999aa98a9a9a9969899a999a9999888889999999999aa977888899789a8878"
        "8a8889899a9bab998798868887a978778a77789999ab9ba979aaabbaabaaabba9aabababaaababaa"
        "9aabaaaa9aaaababababbbacabababba8aababbbabababbb9abbabbbabbbaaaaabaabbaa9baabbaa"
        "abaaaaaa9baa8a86566778889abaabbccabccccdddddcddfecefgccdfegfhifhgffffddaecdhhiah"
        "4";
const char preset_1k_bin_data_match[] =
        "4566667767796887788869887989898969898a998a8a8989887999998a9a9a98789989997a9a9989"
        "8988899a998b9baa88a88999a9ab999989888aa998ababb989ab9abb9caaacbb9bbc9b9aaaac9bab"
        "9bbbabbc9aacbbab9babab9bb98babba7cbbbbbcacbdbacbabababbbacbbabaaabacbcab9bababac"
        "9bbb9baa9baa9a974555667687899788a9aacabbbbabcbbbbbdcbcdcccdb9cd7dbdbabdffcefff6f"
        "5";
const char preset_1k_bin_data_distance[] = "36542333446";

// preset_1k_text_data
const char preset_1k_text_data_literal[] =
        "79999999989997999999999a9a9a9a99597999997779778788779999777999999797777997997777"
        "79787999999999999787778867977875695756779899999999a9aaa99aaaaaaa9aaaaaaaaaaa9aaa"
        "9aaa99a9999aaaaaaaaaaa9aaaaaaaaa9aaa9aaa999aaaaa9a9aa9aa9aaaaaaa9aaaaaaaaaaaaaaa"
        "9aaaaaaa9a9a9aa9568877799999999999999999999999999aaaaaaaaaaaaaaaaaaaaaaa9aa5a898"
        "9";
const char preset_1k_text_data_match[] =
        "8abbbcbbc6bca5cccccccddeddcdcdcf4a79bba967896767877888888987a9aab786788987aa8788"
        "7a767998bbbabbb8b676666876a967667a656777a8b9d7egceeffggeffffffffefdeegfhehfhcedg"
        "chdheddeecdffefhehfefgcgfefgfghhffhhdeffdcgghefgffddfdghfhhhghehegfhffehfhfgffgg"
        "ehhffgfhfegggggc4455666777888899999aaababbbbbcccddcdceecddddecddeeedeeffdfdhhh9h"
        "7";
const char preset_1k_text_data_distance[] = "67764322336";

} // namespace

const Data::Preset Data::preset_array[6] = {
    {{nullptr, nullptr, nullptr}, 0, 0},
    {{preset_1k_rsrc_literal, preset_1k_rsrc_match, preset_1k_rsrc_distance}, 11, 1023},
    {{preset_3k_rsrc_literal, preset_3k_rsrc_match, preset_3k_rsrc_distance}, 13, 3071},
    {{preset_5k_rsrc_literal, preset_5k_rsrc_match, preset_5k_rsrc_distance}, 14, 5119},
    {{preset_1k_bin_data_literal, preset_1k_bin_data_match, preset_1k_bin_data_distance}, 11, 1023},
    {{preset_1k_text_data_literal, preset_1k_text_data_match, preset_1k_text_data_distance}, 11, 1023},
};

} // namespace algorithm::isp
