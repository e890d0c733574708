#include "ostrel/runtime/onnx.h"

#include "ostrel/library.h"
#include "platform/platform.h"

#include <mutex>
#include <onnxruntime_c_api.h>

#define ONNX_LOG(level, ...) ENGINE_LOG("ostrel/onnx", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

// The interface of the C header that this is compiled with; newer runtimes still serve it.
constexpr uint32_t kApiVersion = 21;

struct Runtime {
    const OrtApi *api = nullptr;
    OrtEnv *env = nullptr; // never released: the runtime stays for the life of the process
    OrtMemoryInfo *memory = nullptr;
    OrtAllocator *allocator = nullptr; // the runtime's own default
};

std::mutex runtimeMutex;
Runtime runtime; // set up under the mutex; constant once `api` is set

struct SessionDelete {
    void operator()(OrtSession *session) const { runtime.api->ReleaseSession(session); }
};

struct OptionsDelete {
    void operator()(OrtSessionOptions *options) const
    {
        runtime.api->ReleaseSessionOptions(options);
    }
};

void ORT_API_CALL logLine(void *, OrtLoggingLevel severity, const char *, const char *,
                          const char *location, const char *message)
{
    LogLevel level = severity >= ORT_LOGGING_LEVEL_ERROR ? kError : kWarning;
    ONNX_LOG(level, "  %s: %s\n", location, message);
}

// Whether a call of the runtime worked; its complaint goes to the log with `what`.
bool worked(const OrtApi *api, OrtStatus *status, const char *what)
{
    if (!status) return true;
    ONNX_LOG(kError, "  %s: %s\n", what, api->GetErrorMessage(status));
    api->ReleaseStatus(status);
    return false;
}

bool setUp(const OrtApi *api, Runtime *out)
{
    Runtime made;
    made.api = api;
    bool ok =
        worked(api,
               api->CreateEnvWithCustomLogger(logLine, nullptr, ORT_LOGGING_LEVEL_WARNING, "ostrel",
                                              &made.env),
               "environment") &&
        worked(api, api->DisableTelemetryEvents(made.env), "telemetry") &&
        worked(api, api->CreateCpuMemoryInfo(OrtDeviceAllocator, OrtMemTypeDefault, &made.memory),
               "memory") &&
        worked(api, api->GetAllocatorWithDefaultOptions(&made.allocator), "allocator");
    if (ok) *out = made;
    return ok;
}

// "onnxRuntime" of the configuration names another file, or, when it is empty, none.
std::string runtimePath()
{
    auto loaded = library();
    const char *configured =
        loaded ? jsonString(loaded->configuration.get(), "onnxRuntime") : nullptr;
    return configured ? configured : findResource(VANTEL_ONNX_RUNTIME);
}

// 0 when there is a runtime.
int32_t loadRuntime()
{
    std::lock_guard lock{runtimeMutex};
    std::string path = runtimePath();
    if (path.empty()) return kOnnxMissing;
    if (runtime.api) return 0;
    void *module = platformLibraryOpen(path.c_str());
    auto getBase = reinterpret_cast<decltype(&OrtGetApiBase)>(
        module ? platformLibrarySymbol(module, "OrtGetApiBase") : nullptr);
    const OrtApi *api = getBase ? getBase()->GetApi(kApiVersion) : nullptr;
    if (!api || !setUp(api, &runtime)) {
        ONNX_LOG(kError, "  cannot use the inference runtime %s\n", path.c_str());
        if (!api) platformLibraryClose(module);
        return kRuntimeBroken;
    }
    ONNX_LOG(kInfo, "  inference runtime %s, version %s\n", path.c_str(),
             getBase()->GetVersionString());
    return 0;
}

std::unique_ptr<OrtSession, SessionDelete> createSession(const std::string &model,
                                                         const std::string &path)
{
    const OrtApi *api = runtime.api;
    OrtSessionOptions *made = nullptr;
    if (!worked(api, api->CreateSessionOptions(&made), "options")) return nullptr;
    std::unique_ptr<OrtSessionOptions, OptionsDelete> options{made};
    OrtSession *session = nullptr;
    // Many instances decode at once on threads of their own: a run keeps to its thread.
    bool ok =
        worked(api, api->SetIntraOpNumThreads(made, 1), "threads") &&
        worked(api, api->SetInterOpNumThreads(made, 1), "threads") &&
        worked(api,
               api->CreateSessionFromArray(runtime.env, model.data(), model.size(), made, &session),
               path.c_str());
    return std::unique_ptr<OrtSession, SessionDelete>{ok ? session : nullptr};
}

OnnxValue tensor(void *data, size_t bytes, std::span<const int64_t> shape,
                 ONNXTensorElementDataType type)
{
    OrtValue *value = nullptr;
    worked(runtime.api,
           runtime.api->CreateTensorWithDataAsOrtValue(runtime.memory, data, bytes, shape.data(),
                                                       shape.size(), type, &value),
           "tensor");
    return OnnxValue{value};
}

// What a value or an input says of itself, released when done.
struct ShapeInfoDelete {
    void operator()(OrtTensorTypeAndShapeInfo *info) const
    {
        runtime.api->ReleaseTensorTypeAndShapeInfo(info);
    }
};
using ShapeInfo = std::unique_ptr<OrtTensorTypeAndShapeInfo, ShapeInfoDelete>;

ShapeInfo shapeInfo(const OnnxValue &value)
{
    OrtTensorTypeAndShapeInfo *info = nullptr;
    if (value) worked(runtime.api, runtime.api->GetTensorTypeAndShape(value.get(), &info), "shape");
    return ShapeInfo{info};
}

std::vector<int64_t> dimensions(const OrtTensorTypeAndShapeInfo *info)
{
    size_t count = 0;
    if (!info || !worked(runtime.api, runtime.api->GetDimensionsCount(info, &count), "shape"))
        return {};
    std::vector<int64_t> sizes(count);
    if (!worked(runtime.api, runtime.api->GetDimensions(info, sizes.data(), count), "shape"))
        return {};
    return sizes;
}

} // namespace

struct OnnxSession {
    std::unique_ptr<OrtSession, SessionDelete> session;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    // The same names as a run wants them.
    std::vector<const char *> inputTexts;
    std::vector<const char *> outputTexts;
};

namespace
{

using CountOf = decltype(OrtApi::SessionGetInputCount);
using NameOf = decltype(OrtApi::SessionGetInputName);

bool readNames(const OrtSession *session, CountOf countOf, NameOf nameOf,
               std::vector<std::string> *names)
{
    size_t count = 0;
    if (!worked(runtime.api, countOf(session, &count), "names")) return false;
    for (size_t i = 0; i < count; ++i) {
        char *name = nullptr;
        if (!worked(runtime.api, nameOf(session, i, runtime.allocator, &name), "names"))
            return false;
        names->emplace_back(name);
        worked(runtime.api, runtime.api->AllocatorFree(runtime.allocator, name), "names");
    }
    return true;
}

} // namespace

void OnnxValueDelete::operator()(OrtValue *value) const
{
    runtime.api->ReleaseValue(value);
}

bool onnxIsThere()
{
    return !runtimePath().empty();
}

int32_t onnxOpen(const std::string &path, std::shared_ptr<const OnnxSession> *session)
{
    if (int32_t result = loadRuntime(); result != 0) return result;
    std::string model;
    auto opened = std::make_shared<OnnxSession>();
    if (!readFile(path, &model)) {
        ONNX_LOG(kError, "  cannot read %s\n", path.c_str());
        return kModelBroken;
    }
    opened->session = createSession(model, path);
    const OrtSession *made = opened->session.get();
    if (!made ||
        !readNames(made, runtime.api->SessionGetInputCount, runtime.api->SessionGetInputName,
                   &opened->inputs) ||
        !readNames(made, runtime.api->SessionGetOutputCount, runtime.api->SessionGetOutputName,
                   &opened->outputs)) {
        ONNX_LOG(kError, "  not a usable model: %s\n", path.c_str());
        return kModelBroken;
    }
    for (const std::string &name : opened->inputs)
        opened->inputTexts.push_back(name.c_str());
    for (const std::string &name : opened->outputs)
        opened->outputTexts.push_back(name.c_str());
    *session = std::move(opened);
    return 0;
}

const std::vector<std::string> &onnxInputNames(const OnnxSession &session)
{
    return session.inputs;
}

const std::vector<std::string> &onnxOutputNames(const OnnxSession &session)
{
    return session.outputs;
}

OnnxValue onnxTensor(std::span<float> data, std::span<const int64_t> shape)
{
    return tensor(data.data(), data.size_bytes(), shape, ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT);
}

OnnxValue onnxTensor(std::span<int64_t> data, std::span<const int64_t> shape)
{
    return tensor(data.data(), data.size_bytes(), shape, ONNX_TENSOR_ELEMENT_DATA_TYPE_INT64);
}

OnnxValue onnxTensor(std::span<bool> data, std::span<const int64_t> shape)
{
    return tensor(data.data(), data.size_bytes(), shape, ONNX_TENSOR_ELEMENT_DATA_TYPE_BOOL);
}

bool onnxRun(const OnnxSession &session, std::span<const OrtValue *const> inputs,
             std::span<OnnxValue> outputs)
{
    if (inputs.size() != session.inputs.size() || outputs.size() > session.outputs.size())
        return false;
    std::vector<OrtValue *> results;
    for (const OnnxValue &output : outputs)
        results.push_back(output.get());
    // A session's run changes nothing in it; the C interface only lacks the const.
    OrtStatus *status =
        runtime.api->Run(session.session.get(), nullptr, session.inputTexts.data(), inputs.data(),
                         inputs.size(), session.outputTexts.data(), results.size(), results.data());
    bool ok = worked(runtime.api, status, "run");
    for (size_t i = 0; i < outputs.size(); ++i)
        if (!outputs[i]) outputs[i].reset(results[i]);
    return ok;
}

std::span<const float> onnxFloats(const OnnxValue &value)
{
    ShapeInfo info = shapeInfo(value);
    ONNXTensorElementDataType type = ONNX_TENSOR_ELEMENT_DATA_TYPE_UNDEFINED;
    size_t count = 0;
    void *data = nullptr;
    if (!info ||
        !worked(runtime.api, runtime.api->GetTensorElementType(info.get(), &type), "type") ||
        type != ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT ||
        !worked(runtime.api, runtime.api->GetTensorShapeElementCount(info.get(), &count), "size") ||
        !worked(runtime.api, runtime.api->GetTensorMutableData(value.get(), &data), "data"))
        return {};
    return {static_cast<const float *>(data), count};
}

std::vector<int64_t> onnxInputShape(const OnnxSession &session, size_t index)
{
    OrtTypeInfo *type = nullptr;
    if (!worked(runtime.api,
                runtime.api->SessionGetInputTypeInfo(session.session.get(), index, &type), "type"))
        return {};
    const OrtTensorTypeAndShapeInfo *info = nullptr;
    worked(runtime.api, runtime.api->CastTypeInfoToTensorInfo(type, &info), "type");
    std::vector<int64_t> sizes = dimensions(info);
    runtime.api->ReleaseTypeInfo(type);
    return sizes;
}

std::vector<int64_t> onnxShape(const OnnxValue &value)
{
    return dimensions(shapeInfo(value).get());
}

} // namespace vantel::ostrel
