// CFGKeys - every key of every section: how its value is read and where it is stored; the lists
// of the `parameter` record.
#pragma once

#include <cstdint>
#include <memory>

#include "CFGRecords.h"

/// A symbolic name of a ColorSpace or CompressionMode value.
struct IDSymbol {
  int32_t value;
  const char* symbol;  // null ends the table
};
/// One list for both keys, so either accepts any symbol.
inline constexpr std::array<IDSymbol, 14> gIDSymbolTable = {{
    {2, "hxraster_id_val_image_format_row_rgb_multi_level"},
    {3, "hxraster_id_val_image_format_row_kcmy_multi_level"},
    {4, "hxraster_id_val_image_format_row_inkcolor_index"},
    {5, "hxraster_id_val_image_format_row_inkcolor_bi_level"},
    {18, "hxraster_id_val_image_format_pixel_rgb_multi_level"},
    {19, "hxraster_id_val_image_format_pixel_kcmy_kccmmy_multi_level"},
    {20, "hxraster_id_val_image_format_pixel_kcmy_kccmmy_index"},
    {21, "hxraster_id_val_image_format_pixel_kcmy_kccmmy_bi_level"},
    {0, "hxraster_id_val_compression_none"},
    {2, "hxraster_id_val_compression_packbits"},
    {3, "hxraster_id_val_compression_seedrow"},
    {256, "hxraster_id_val_compression_packbits_seedrow"},
    {4, "hxraster_id_val_compression_hxrc"},
    {0, nullptr},
}};

// Value parsers. Each takes the item's key, the key that it stands for, the value text, the
// destination and the item. Each returns -1 when the key is not its own and 1 when it stored the
// value; a bad value prints the item's line and throws.

/// @throws -27 field already filled, -28 no well-formed quoted string of at most 259 characters
int parseParameterString(const char* key, const char* wanted, const char* value, char* path,
                         CFGFileItem* item);
/// @throws -30 field already set, -31 neither decimal nor hexadecimal
int parseParameterInteger(const char* key, const char* wanted, const char* value, int32_t* field,
                          CFGFileItem* item);
/// @throws -32 field already set, -33 neither a number nor a symbol
int parseParameterIntegerSymbol(const char* key, const char* wanted, const char* value,
                                int32_t* field, CFGFileItem* item);
/// @throws -15 field already set, -16 bad character
int parseStartingPosition(const char* key, const char* wanted, const char* value, int32_t* field,
                          int32_t* sign, CFGFileItem* item);
/// @throws -17 field already set, -18 bad character, a leading "-" included
int parseYOffset(const char* key, const char* wanted, const char* value, int32_t* field,
                 int32_t* sign, CFGFileItem* item);
/// @throws -34 for a number other than 0, 2 to 6 and 16
int parseIndexLevel(const char* key, const char* wanted, const char* value, const uint8_t** field,
                    CFGFileItem* item);

/// Looks a symbol up by exact comparison. @return 1 with its value stored, or -1
int convertSymbolToInt(const char* symbol, int32_t* value);
/// Base 16 text without prefix, modulo 2^32; no digits give 0.
int32_t hexadecimalToDecimal(const char* text);

// Section parsers: store one item, or ignore the section's header line.

void parseGlobalParameter(CFGFileItem* item, parameter* record);  ///< @throws -12 unknown key
/// @return 0 for a known key or the header; not 0 for an unknown key, which is an override pair
int parseODAXParameterBuild(CFGFileItem* item, parameter* record);
int parseODAXParameter(CFGFileItem* item, parameter* record);       // the same under its other name
void parseHXRasterParameter(CFGFileItem* item, parameter* record);  ///< @throws -13 unknown key
/// The first item after an [Image] header opens a new record. @throws -14 unknown key
void parseImageParameter(CFGFileItem* item, parameter* record);

// Records and lists.

void initCommonParameter(parameter* record);
void initImageParameter(imageParameter* image);
imageParameter* addImageParameter(imageParameter* last);
imageParameter* getLastImageParameter(imageParameter* list);
imageProcessingFile* addImageProcessingFile(imageProcessingFile* last);
imageProcessingFile* getLastImageProcessingFile(imageProcessingFile* list);
/// Frees both lists and the record; null is ignored.
void disposeParameter(parameter* record);

struct ParameterDispose {
  void operator()(parameter* record) const noexcept { disposeParameter(record); }
};
using ParameterOwner = std::unique_ptr<parameter, ParameterDispose>;

/// Prints "INVALID VALUE OF ITEM!: line N." and the line, and throws `code`.
[[noreturn]] void failInvalidValue(int lineNumber, const char* line, int code);
