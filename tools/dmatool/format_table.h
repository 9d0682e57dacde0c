#pragma once

#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dmatool
{
/// A modulation format as the command line knows it.
struct format_row_t
{
    std::string name;       ///< as it is printed: QPSK, 3PI/4-QPSK
    std::string enumerator; ///< LIB_DMA_MODULATION_PSK_QPSK
    std::uint32_t value;    ///< of the enumerator
    std::vector<std::string> aliases;
};

/// A modulation group with its formats.
struct group_row_t
{
    std::string name;       ///< PSK
    std::string enumerator; ///< LIB_DMA_GROUP_PSK
    std::string key;        ///< name of its format in reports: psk_format
    vrim::dma_demod_lib::lib_dma_modulation_type_t value;
    bool built; ///< whether the library has the group's demodulator
    std::vector<format_row_t> formats;
};

/// A filter as the command line knows it.
struct filter_row_t
{
    std::string name;
    std::string enumerator;
    std::uint32_t value;
    std::vector<std::string> aliases;
};

const std::vector<group_row_t>& get_group_table();
const group_row_t& get_group_row(vrim::dma_demod_lib::lib_dma_modulation_type_t group);

/// Group and format by name, enumerator or number.
struct format_choice_t
{
    const group_row_t* group = nullptr;
    const format_row_t* format = nullptr;
};

/// Finds group and format. Letters match in either case; blanks, -, _ and / do not count. Without a group the format's name
/// tells it; a number counts as a PSK format then.
/// @throws tool_error_t listing what there is; with the status for what is not built when the group or format is known but
///         has no demodulator
format_choice_t find_format(const std::optional<std::string>& group, const std::optional<std::string>& format);

const std::vector<filter_row_t>& get_meas_filter_table();
const std::vector<filter_row_t>& get_ref_filter_table();
/// Finds a filter by name, enumerator or number. @throws tool_error_t listing what there is
const filter_row_t& find_filter(const std::vector<filter_row_t>& table, const std::string& option, const std::string& text);
} // namespace dmatool
