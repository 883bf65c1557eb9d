// Time to load large QoS profile files: many flat profiles, and one long base_name chain. Each
// file is written to a temporary directory, loaded once through the factory, and the time
// printed; asserts nothing. Creates no participant.
//   profile_load_bench [FLAT_PROFILES [CHAIN_LENGTH]]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "qordds/domain.h"

namespace {

std::string writeFile(const std::string& name, const std::string& text) {
    std::string path = "/tmp/" + name;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        std::perror(path.c_str());
        std::exit(2);
    }
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
    return path;
}

void measure(const char* what, const std::string& path, size_t bytes) {
    DDS_DomainParticipantFactoryQos qos;
    qos.profile.url_profile.ensure_length(1, 1);
    DDS_String_replace(&qos.profile.url_profile[0], path.c_str());
    auto start = std::chrono::steady_clock::now();
    DDS_ReturnCode_t rc = DDSDomainParticipantFactory::get_instance()->set_qos(qos);
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    std::printf("%-32s %9zu bytes  %8.3f s  (return code %d)\n", what, bytes, elapsed.count(),
                static_cast<int>(rc));
}

}  // namespace

int main(int argc, char** argv) {
    long flat = argc > 1 ? std::atol(argv[1]) : 100000;
    long chain = argc > 2 ? std::atol(argv[2]) : 30000;
    if (flat <= 0 || chain <= 0) {
        std::fprintf(stderr, "usage: profile_load_bench [FLAT_PROFILES [CHAIN_LENGTH]]\n");
        return 2;
    }
    std::string text = "<dds><qos_library name=\"L\">\n";
    for (long i = 0; i < flat; ++i) {
        text += "<qos_profile name=\"P" + std::to_string(i) + "\"/>\n";
    }
    text += "</qos_library></dds>\n";
    std::string label = std::to_string(flat) + " flat profiles";
    measure(label.c_str(), writeFile("profile_load_bench_flat.xml", text), text.size());

    text = "<dds><qos_library name=\"L\">\n<qos_profile name=\"C0\"/>\n";
    for (long i = 1; i < chain; ++i) {
        text += "<qos_profile name=\"C" + std::to_string(i) + "\" base_name=\"C" +
                std::to_string(i - 1) + "\"/>\n";
    }
    text += "</qos_library></dds>\n";
    label = "a chain of " + std::to_string(chain) + " profiles";
    measure(label.c_str(), writeFile("profile_load_bench_chain.xml", text), text.size());
    return 0;
}
