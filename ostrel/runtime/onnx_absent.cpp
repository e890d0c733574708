// Stands in where the runtime's header was not at hand when this was built: no model can be opened.
#include "ostrel/runtime/onnx.h"

namespace vantel::ostrel
{

struct OnnxSession {
    std::vector<std::string> names;
};

void OnnxValueDelete::operator()(OrtValue *) const {}

bool onnxIsThere()
{
    return false;
}

int32_t onnxOpen(const std::string &, std::shared_ptr<const OnnxSession> *)
{
    return kOnnxMissing;
}

const std::vector<std::string> &onnxInputNames(const OnnxSession &session)
{
    return session.names;
}

const std::vector<std::string> &onnxOutputNames(const OnnxSession &session)
{
    return session.names;
}

OnnxValue onnxTensor(std::span<float>, std::span<const int64_t>)
{
    return nullptr;
}

OnnxValue onnxTensor(std::span<int64_t>, std::span<const int64_t>)
{
    return nullptr;
}

OnnxValue onnxTensor(std::span<bool>, std::span<const int64_t>)
{
    return nullptr;
}

bool onnxRun(const OnnxSession &, std::span<const OrtValue *const>, std::span<OnnxValue>)
{
    return false;
}

std::span<const float> onnxFloats(const OnnxValue &)
{
    return {};
}

std::vector<int64_t> onnxInputShape(const OnnxSession &, size_t)
{
    return {};
}

std::vector<int64_t> onnxShape(const OnnxValue &)
{
    return {};
}

} // namespace vantel::ostrel
