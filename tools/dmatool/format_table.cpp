#include "format_table.h"

#include "exit_status.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
template <typename row_t>
bool is_named(const row_t& row, const std::string& text)
{
    const std::string key = get_name_key(text);
    return !key.empty() && (key == get_name_key(row.name) || key == get_name_key(row.enumerator));
}

template <typename row_t>
bool is_match(const row_t& row, const std::string& text)
{
    const std::string key = get_name_key(text);
    const auto has_key = [&key](const std::string& alias) { return key == get_name_key(alias); };
    return is_named(row, text) || std::any_of(row.aliases.begin(), row.aliases.end(), has_key);
}

bool is_number(const std::string& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

template <typename rows_t>
std::string list_names(const rows_t& rows)
{
    std::string list;
    for (const auto& row : rows)
    {
        list += (list.empty() ? "" : ", ") + row.name;
    }
    return list;
}

const group_row_t& find_group(const std::string& text)
{
    for (const group_row_t& row : get_group_table())
    {
        if (is_named(row, text) || text == std::to_string(static_cast<std::uint32_t>(row.value)))
        {
            return row;
        }
    }
    throw tool_error_t(exit_usage, fmt::format("--group {} is no modulation group; expected one of {}", quote(text),
                                               list_names(get_group_table())));
}

[[noreturn]] void fail_not_built(const group_row_t& group)
{
    std::string built;
    for (const group_row_t& row : get_group_table())
    {
        if (row.built)
        {
            built += (built.empty() ? "" : "; ") + row.name + " (" + list_names(row.formats) + ")";
        }
    }
    throw tool_error_t(exit_not_built, fmt::format("the demodulator of group {} is not built yet; what can be analysed is {}",
                                                   group.name, built));
}

// The library measures 2048QAM under a value that has no enumerator.
constexpr std::uint32_t unassigned_2048_qam = 7;

std::vector<group_row_t> make_group_table()
{
    return {
        { "PSK",
          "LIB_DMA_GROUP_PSK",
          "psk_format",
          LIB_DMA_GROUP_PSK,
          true,
          {
              { "BPSK", "LIB_DMA_MODULATION_PSK_BPSK", LIB_DMA_MODULATION_PSK_BPSK, { "2PSK" } },
              { "QPSK", "LIB_DMA_MODULATION_PSK_QPSK", LIB_DMA_MODULATION_PSK_QPSK, { "4PSK" } },
              { "8PSK", "LIB_DMA_MODULATION_PSK_8_PSK", LIB_DMA_MODULATION_PSK_8_PSK, { "PSK8" } },
              { "3PI/4-QPSK", "LIB_DMA_MODULATION_PSK_3PI_4_QPSK", LIB_DMA_MODULATION_PSK_3PI_4_QPSK, { "PSK_3PI_4_QPSK" } },
              { "3PI/8-8PSK", "LIB_DMA_MODULATION_PSK_3PI_8_PSK", LIB_DMA_MODULATION_PSK_3PI_8_PSK, { "3PI/8-PSK" } },
          } },
        { "QAM",
          "LIB_DMA_GROUP_QAM",
          "qam_format",
          LIB_DMA_GROUP_QAM,
          true,
          {
              { "16QAM", "LIB_DMA_QAM_16", LIB_DMA_QAM_16, { "QAM16" } },
              { "32QAM", "LIB_DMA_QAM_32", LIB_DMA_QAM_32, { "QAM32" } },
              { "64QAM", "LIB_DMA_QAM_64", LIB_DMA_QAM_64, { "QAM64" } },
              { "128QAM", "LIB_DMA_QAM_128", LIB_DMA_QAM_128, { "QAM128" } },
              { "256QAM", "LIB_DMA_QAM_256", LIB_DMA_QAM_256, { "QAM256" } },
              { "512QAM", "LIB_DMA_QAM_512", LIB_DMA_QAM_512, { "QAM512" } },
              { "1024QAM", "LIB_DMA_QAM_1024", LIB_DMA_QAM_1024, { "QAM1024" } },
              { "2048QAM", "7", unassigned_2048_qam, { "QAM2048" } },
              { "4096QAM", "LIB_DMA_QAM_4096", LIB_DMA_QAM_4096, { "QAM4096" } },
              { "PI/4-16QAM", "LIB_DMA_QAM_PI_16", LIB_DMA_QAM_PI_16, { "PI16QAM" } },
              { "MINUS-PI/4-32QAM", "LIB_DMA_QAM_NEGATIVE_PI_32", LIB_DMA_QAM_NEGATIVE_PI_32, {} },
              { "DVB-16QAM", "LIB_DMA_DVB_QAM_16", LIB_DMA_DVB_QAM_16, {} },
              { "DVB-32QAM", "LIB_DMA_DVB_QAM_32", LIB_DMA_DVB_QAM_32, {} },
              { "DVB-64QAM", "LIB_DMA_DVB_QAM_64", LIB_DMA_DVB_QAM_64, {} },
              { "DVB-128QAM", "LIB_DMA_DVB_QAM_128", LIB_DMA_DVB_QAM_128, {} },
              { "DVB-256QAM", "LIB_DMA_DVB_QAM_256", LIB_DMA_DVB_QAM_256, {} },
          } },
        { "FSK",
          "LIB_DMA_GROUP_FSK",
          "fsk_format",
          LIB_DMA_GROUP_FSK,
          true,
          {
              { "2FSK", "LIB_DMA_FSK_2", LIB_DMA_FSK_2, {} },
              { "4FSK", "LIB_DMA_FSK_4", LIB_DMA_FSK_4, {} },
              { "8FSK", "LIB_DMA_FSK_8", LIB_DMA_FSK_8, {} },
              { "16FSK", "LIB_DMA_FSK_16", LIB_DMA_FSK_16, {} },
              { "32FSK", "LIB_DMA_FSK_32", LIB_DMA_FSK_32, {} },
              { "64FSK", "LIB_DMA_FSK_64", LIB_DMA_FSK_64, {} },
          } },
        { "MSK",
          "LIB_DMA_GROUP_MSK",
          "msk_format",
          LIB_DMA_GROUP_MSK,
          true,
          {
              { "MSK-TYPE1", "LIB_DMA_MSK_TYPE1", LIB_DMA_MSK_TYPE1, { "MSK" } },
              { "MSK-TYPE2", "LIB_DMA_MSK_TYPE2", LIB_DMA_MSK_TYPE2, {} },
          } },
        { "ASK",
          "LIB_DMA_GROUP_ASK",
          "ask_format",
          LIB_DMA_GROUP_ASK,
          true,
          {
              { "2ASK", "LIB_DMA_ASK_2", LIB_DMA_ASK_2, { "OOK" } },
              { "4ASK", "LIB_DMA_ASK_4", LIB_DMA_ASK_4, {} },
              { "8ASK", "LIB_DMA_ASK_8", LIB_DMA_ASK_8, {} },
              { "16ASK", "LIB_DMA_ASK_16", LIB_DMA_ASK_16, {} },
          } },
        { "APSK",
          "LIB_DMA_GROUP_APSK",
          "apsk_format",
          LIB_DMA_GROUP_APSK,
          true,
          {
              { "16APSK", "LIB_DMA_APSK_16", LIB_DMA_APSK_16, {} },
              { "32APSK", "LIB_DMA_APSK_32", LIB_DMA_APSK_32, {} },
          } },
        { "OQPSK",
          "LIB_DMA_GROUP_OQPSK",
          "oqpsk_format",
          LIB_DMA_GROUP_OQPSK,
          true,
          {
              { "OQPSK", "LIB_DMA_MODULATION_PSK_OFFSET_QPSK", LIB_DMA_MODULATION_PSK_OFFSET_QPSK, {} },
              { "SHAPED-OQPSK", "LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK", LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK, {} },
          } },
        { "DPSK",
          "LIB_DMA_GROUP_DPSK",
          "dpsk_format",
          LIB_DMA_GROUP_DPSK,
          true,
          {
              { "DBPSK", "LIB_DMA_MODULATION_PSK_DBPSK", LIB_DMA_MODULATION_PSK_DBPSK, {} },
              { "DQPSK", "LIB_DMA_MODULATION_PSK_DQPSK", LIB_DMA_MODULATION_PSK_DQPSK, {} },
              { "PI/4-DQPSK", "LIB_DMA_MODULATION_PSK_PI_4_DQPSK", LIB_DMA_MODULATION_PSK_PI_4_DQPSK, {} },
              { "PI/8-D8PSK", "LIB_DMA_MODULATION_PSK_PI_8_D8PSK", LIB_DMA_MODULATION_PSK_PI_8_D8PSK, {} },
              { "D8PSK", "LIB_DMA_MODULATION_PSK_D8PSK", LIB_DMA_MODULATION_PSK_D8PSK, {} },
          } },
        { "VSB",
          "LIB_DMA_GROUP_VSB",
          "vsb_format",
          LIB_DMA_GROUP_VSB,
          false,
          {
              { "8VSB", "LIB_DMA_VSB_8", LIB_DMA_VSB_8, {} },
              { "16VSB", "LIB_DMA_VSB_16", LIB_DMA_VSB_16, {} },
          } },
        { "CUSTOM-IQ",
          "LIB_DMA_GROUP_CUSTOM_IQ",
          "custom_iq_format",
          LIB_DMA_GROUP_CUSTOM_IQ,
          false,
          { { "CUSTOM-IQ", "LIB_DMA_CUSTOM_IQ", LIB_DMA_CUSTOM_IQ, {} } } },
        { "OTHER",
          "LIB_DMA_GROUP_OTHER",
          "other_format",
          LIB_DMA_GROUP_OTHER,
          false,
          {
              { "CPM", "LIB_DMA_OTHER_CPM", LIB_DMA_OTHER_CPM, {} },
              { "EDGE", "LIB_DMA_OTHER_EDGE", LIB_DMA_OTHER_EDGE, {} },
          } },
    };
}
} // namespace

const std::vector<group_row_t>& get_group_table()
{
    static const std::vector<group_row_t> table = make_group_table();
    return table;
}

const group_row_t& get_group_row(lib_dma_modulation_type_t group)
{
    const std::vector<group_row_t>& table = get_group_table();
    return *std::find_if(table.begin(), table.end(), [group](const group_row_t& row) { return row.value == group; });
}

format_choice_t find_format(const std::optional<std::string>& group, const std::optional<std::string>& format)
{
    const group_row_t* wanted = nullptr;
    if (group)
    {
        wanted = &find_group(*group);
        // Said before the format is looked at: nobody needs to get right what cannot be analysed.
        if (!wanted->built)
        {
            fail_not_built(*wanted);
        }
    }
    else if (format && is_number(*format))
    {
        wanted = &get_group_row(LIB_DMA_GROUP_PSK);
    }
    const group_row_t& listed = wanted != nullptr ? *wanted : get_group_row(LIB_DMA_GROUP_PSK);
    if (!format)
    {
        throw tool_error_t(exit_usage, fmt::format("--format is missing; give one of {}", list_names(listed.formats)));
    }

    for (const group_row_t& row : get_group_table())
    {
        if (wanted != nullptr && wanted != &row)
        {
            continue;
        }
        for (const format_row_t& entry : row.formats)
        {
            if (!is_match(entry, *format) && !(wanted == &row && *format == std::to_string(entry.value)))
            {
                continue;
            }
            if (!row.built)
            {
                fail_not_built(row);
            }
            return { &row, &entry };
        }
    }
    throw tool_error_t(exit_usage,
                       fmt::format("--format {} is no format{}; expected one of {}", quote(*format),
                                   wanted != nullptr ? " of group " + wanted->name : std::string(), list_names(listed.formats)));
}

const std::vector<filter_row_t>& get_meas_filter_table()
{
    // The user-defined filter needs taps, which the command line does not take.
    static const std::vector<filter_row_t> table = {
        { "none", "LIB_DMA_MEAS_NONE_FILTER", LIB_DMA_MEAS_NONE_FILTER, { "off" } },
        { "cosine", "LIB_DMA_MEAS_COSINE_FILTER", LIB_DMA_MEAS_COSINE_FILTER, {} },
        { "rc", "LIB_DMA_MEAS_RAISED_COSINE_FILTER", LIB_DMA_MEAS_RAISED_COSINE_FILTER, { "raised-cosine" } },
        { "rrc", "LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER", LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, { "root-raised-cosine" } },
        { "gaussian", "LIB_DMA_MEAS_GAUSSIAN_FILTER", LIB_DMA_MEAS_GAUSSIAN_FILTER, { "gauss" } },
        { "rectangular", "LIB_DMA_MEAS_RECTANGULAR_FILTER", LIB_DMA_MEAS_RECTANGULAR_FILTER, { "rect" } },
        { "low-pass", "LIB_DMA_MEAS_LOW_PASS_FILTER", LIB_DMA_MEAS_LOW_PASS_FILTER, {} },
        { "edge", "LIB_DMA_MEAS_EDGE_FILTER", LIB_DMA_MEAS_EDGE_FILTER, {} },
        { "half-sine", "LIB_DMA_MEAS_HALF_SINE_FILTER", LIB_DMA_MEAS_HALF_SINE_FILTER, {} },
    };
    return table;
}

const std::vector<filter_row_t>& get_ref_filter_table()
{
    static const std::vector<filter_row_t> table = {
        { "none", "LIB_DMA_REF_NONE_FILTER", LIB_DMA_REF_NONE_FILTER, { "off" } },
        { "rc", "LIB_DMA_REF_RAISED_COSINE_FILTER", LIB_DMA_REF_RAISED_COSINE_FILTER, { "raised-cosine" } },
        { "rrc", "LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER", LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER, { "root-raised-cosine" } },
        { "gaussian", "LIB_DMA_REF_GAUSSIAN_FILTER", LIB_DMA_REF_GAUSSIAN_FILTER, { "gauss" } },
        { "rectangular", "LIB_DMA_REF_RECTANGULAR_FILTER", LIB_DMA_REF_RECTANGULAR_FILTER, { "rect" } },
        { "half-sine", "LIB_DMA_REF_HALF_SINE_FILTER", LIB_DMA_REF_HALF_SINE_FILTER, {} },
    };
    return table;
}

const filter_row_t& find_filter(const std::vector<filter_row_t>& table, const std::string& option, const std::string& text)
{
    for (const filter_row_t& row : table)
    {
        if (is_match(row, text) || text == std::to_string(row.value))
        {
            return row;
        }
    }
    throw tool_error_t(exit_usage, fmt::format("{} {} is no filter; expected one of {}", option, quote(text), list_names(table)));
}
} // namespace dmatool
