// The message by which a buffer arrives from another process.
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <zelkcam/host/HandleTransport.h>

#include "fuzz/Fuzz.h"
#include "platform/utils.h"
#include "tests/support/RawMessage.h"

namespace {

// Not an end of the connection: a connection whose end is on its way to itself never closes.
int anyDescriptor() {
    static const int fd = eventfd(0, EFD_CLOEXEC);
    return fd;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace zelkcam::host;
    FuzzedDataProvider input(data, size);
    int ends[2];
    zelkcam::fuzz::require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    TransportSocket receiver(ends[0]);
    const auto count = input.ConsumeIntegralInRange<size_t>(0, 4);
    auto bytes = input.ConsumeRemainingBytes<uint8_t>();
    {
        const TransportSocket sender(ends[1]);
        const std::vector<int> fds(bytes.empty() ? 0 : count, anyDescriptor());
        zelkcam::test::sendRaw(ends[1], bytes.data(), bytes.size(), fds);
    }
    const auto received = receiveHandle(receiver.get());
    zelkcam::fuzz::require(received.ok() == (received.value != nullptr));
    if (received.ok()) {
        native_handle_close(received.value);
        native_handle_delete(received.value);
    }
    return 0;
}
