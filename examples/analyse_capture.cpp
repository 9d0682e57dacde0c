// Measures the QPSK example capture through the library: the shortest complete host program.
//
//   analyse_capture FILE    FILE: complex samples, 32-bit floats, I and Q in turn, 4 MHz

#include <dma_demod.h>

#include <cstdio>
#include <fstream>

using namespace vrim::dma_demod_lib;

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: analyse_capture FILE\n");
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary | std::ios::ate);
    if (!file)
    {
        std::fprintf(stderr, "analyse_capture: cannot open %s\n", argv[1]);
        return 2;
    }
    complex_array capture(static_cast<std::size_t>(file.tellg()) / sizeof(std::complex<float>));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(capture.data()),
              static_cast<std::streamsize>(capture.size() * sizeof(std::complex<float>)));

    // What the signal is and what is to be measured.
    lib_dma_frame_configure_manager_t frame;
    lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    segment.get_format_configure().set_format_group(LIB_DMA_GROUP_PSK);
    segment.get_format_configure().set_psk_format(LIB_DMA_MODULATION_PSK_QPSK);
    segment.get_format_configure().set_symbol_rate(1000000);
    segment.get_filter_configure().set_filter_alpha(0.35f);
    segment.get_filter_configure().set_filter_length(64);
    segment.get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 1000);
    segment.get_time_configure().set_meas_offset(0);

    common_log::trace_output_t::get_instance().silence();
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    analyser.set_sample_rate(4.0e6);
    analyser.set_demod_data(capture);
    if (const std::int32_t code = analyser.dma_phy_process(); code != LIB_DMA_RESULT_OK)
    {
        std::fprintf(stderr, "analyse_capture: the analysis ended with code %d\n", code);
        return 1;
    }

    const lib_dma_phy_data_manager_t& results = analyser.get_data_manager();
    std::printf("EVM              %8.3f %%\n", static_cast<double>(results.get_error_summary(0).evm_rms));
    std::printf("SNR              %8.2f dB\n", static_cast<double>(results.get_error_summary(0).snr));
    std::printf("frequency error  %8.1f Hz\n", static_cast<double>(results.get_err_table(0).frequency_error));
    return 0;
}
