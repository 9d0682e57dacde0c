#include "support/lib_xml_common.h"

#include <gtest/gtest.h>

using namespace vrim::common_lib;

TEST(ProtocolName, LeadsBackToItsNumber)
{
    for (const plib_protocol_type_t number : { 22u, 25u })
    {
        const std::string name = lib_xml_common_t::get_protocol_name(number);
        EXPECT_FALSE(name.empty()) << number;
        plib_protocol_type_t type = 0;
        EXPECT_TRUE(lib_xml_common_t::get_protocol_type(name, type));
        EXPECT_EQ(type, number);
    }
    EXPECT_NE(lib_xml_common_t::get_protocol_name(22), lib_xml_common_t::get_protocol_name(25));
}

TEST(ProtocolName, StaysTheNameThatIsInSavedFiles)
{
    EXPECT_EQ(lib_xml_common_t::get_protocol_name(protocol_dma_frame), "cfg_dma_frame");
    EXPECT_EQ(lib_xml_common_t::get_protocol_name(protocol_fir_parameter), "lib_fir_design_parameter");
}

TEST(ProtocolName, IsEmptyForAnUnknownNumber)
{
    for (const plib_protocol_type_t number : { 0u, 21u, 23u, 24u, 26u })
        EXPECT_EQ(lib_xml_common_t::get_protocol_name(number), "") << number;
}

TEST(ProtocolName, LeavesTheNumberAloneWhenUnknown)
{
    for (const char* name : { "", "cfg_dma_fram", "CFG_DMA_FRAME", "22" })
    {
        plib_protocol_type_t type = 99;
        EXPECT_FALSE(lib_xml_common_t::get_protocol_type(name, type)) << name;
        EXPECT_EQ(type, 99u) << name;
    }
}
