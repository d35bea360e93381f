/* The host interface of the vek_dsp effect plug-in: the records a host reads and fills, the
 * callback types, status words and type codes. C-compatible; every offset is part of the
 * interface and is pinned by the static assertions at the end of this file. */
#ifndef VEK_DSP_ABI_H
#define VEK_DSP_ABI_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Status words, in the Windows manner. */
typedef int32_t VekStatus;
#define VEK_S_OK ((VekStatus)0)
#define VEK_E_FAIL ((VekStatus)0x80004005u)        /* null record, missing buffer, bad enumeration */
#define VEK_E_OUTOFMEMORY ((VekStatus)0x8007000Eu) /* an allocation failed */
#define VEK_E_POINTER ((VekStatus)0x80004003u)     /* a table that Process needs is missing */
#define VEK_E_NOTIMPL ((VekStatus)0x80004001u)     /* the effect does not render yet */

/* Opaque module handle: an HMODULE on Windows. */
typedef void* VekModuleHandle;

/* Effect categories (EffectDescriptor word F0). */
enum {
  VEK_CATEGORY_VIDEO = 10,
  VEK_CATEGORY_TRANSITION = 20,
  VEK_CATEGORY_PICTURE_IN_PICTURE = 40,
  VEK_CATEGORY_COLOUR = 50,
  VEK_CATEGORY_AUDIO = 510,
  VEK_CATEGORY_AUTO_CORRECTION = 700
};

/* Parameter type codes (ParamDescriptor.typeCode) and the value size each takes in a value block. */
enum {
  VEK_TYPE_BYTE = 1,        /* uint8_t, 1 byte */
  VEK_TYPE_ENUM = 3,        /* int32_t option index, 4 bytes */
  VEK_TYPE_INT = 4,         /* int32_t, 4 bytes */
  VEK_TYPE_FLOAT = 5,       /* float, 4 bytes */
  VEK_TYPE_COLOUR = 7,      /* uint32_t 0x00RRGGBB, 4 bytes */
  VEK_TYPE_SWITCH = 8,      /* int32_t 0 or 1, 4 bytes */
  VEK_TYPE_STRING = 9,      /* const char*, 8 bytes; the string belongs to the host */
  VEK_TYPE_RECT = 13,       /* four floats left, top, right, bottom, 16 bytes */
  VEK_TYPE_WIDE_STRING = 14,/* const uint16_t* (UTF-16), 8 bytes; the string belongs to the host */
  VEK_TYPE_POSITION = 15    /* two floats x, y, 8 bytes */
};

/* Editor kinds (ParamDescriptor.editorKind): which control a host shows for a row. */
enum {
  VEK_EDITOR_TEXT = 1,
  VEK_EDITOR_NUMBER = 2,
  VEK_EDITOR_COLOUR = 4,
  VEK_EDITOR_COLOUR_PICKED = 5, /* a key or focus colour the user picks from the picture */
  VEK_EDITOR_SWITCH = 6,
  VEK_EDITOR_FILE = 8,
  VEK_EDITOR_CHOICE = 9,
  VEK_EDITOR_RECT = 10,
  VEK_EDITOR_POSITION = 11
};

/* Instance field values. */
enum { VEK_LAYOUT_LUMA_CHROMA = 1 };
enum { VEK_FIELD_FRAME = 0, VEK_FIELD_EVEN = 1, VEK_FIELD_ODD = 2 };
enum { VEK_PROCESSING_ACCELERATOR_A = 512, VEK_PROCESSING_ACCELERATOR_B = 1024 };

/* A host object is a pointer to a table of operations ("virtual operations"), each taking the
 * object as its first argument. Only the slots named below are called by the plug-in. */
typedef void (*VekOperation)(void);
typedef struct VekObject {
  const VekOperation* operations;
} VekObject;

/* Slot 0 of the instance's host object, called by Init; the result is ignored. */
#define VEK_HOST_SLOT_NOTIFY 0
typedef int32_t (*VekHostNotifyFn)(VekObject* self);

/* Slot 24 of the accelerator object: the whole cross-fade job of processing modes 512 and 1024. */
#define VEK_ACCELERATOR_SLOT_BLEND 24
typedef int32_t (*VekAcceleratorBlendFn)(VekObject* self, const uint8_t* sourceA, const uint8_t* sourceB,
                                         uint8_t* output, uint32_t width, uint32_t height, int32_t weight,
                                         uint64_t region4, uint64_t region3, uint64_t region1,
                                         uint64_t region2, int32_t option1, int32_t option2, int32_t zero);

/* The buffer service: a host that offers it lends images to the effects. Slot 0 wraps pixels the
 * effect already has (nothing is copied), slot 1 makes a new image of undefined content; both
 * return a record the host owns and fills, or null when it cannot. Slot 3 gives a record back;
 * every record an effect obtained is given back exactly once. */
typedef struct VekImageBuffer {
  uint8_t* pixels;       /* 4 bytes a pixel */
  uint32_t width;
  uint32_t height;
  uint32_t rowBytes;     /* bytes from one row to the next */
  uint32_t reserved;
} VekImageBuffer;
#define VEK_BUFFER_SLOT_WRAP 0
typedef VekImageBuffer* (*VekBufferWrapFn)(VekObject* self, uint8_t* pixels, uint32_t width, uint32_t height,
                                           uint32_t rowBytes);
#define VEK_BUFFER_SLOT_CREATE 1
typedef VekImageBuffer* (*VekBufferCreateFn)(VekObject* self, uint32_t width, uint32_t height);
#define VEK_BUFFER_SLOT_RELEASE 3
typedef int32_t (*VekBufferReleaseFn)(VekObject* self, VekImageBuffer* buffer);

struct VekEffectInstance;
struct VekInputSample;
struct VekParamDescriptor;
struct VekModuleDescriptor;

typedef VekStatus (*VekInstanceFn)(struct VekEffectInstance* instance);
typedef VekStatus (*VekSetInputFn)(int32_t index, struct VekInputSample* sample);
/* Blends two key-frame values of a row at t (0 at the left key, 1 at the right one). */
typedef VekStatus (*VekInterpolateFn)(const struct VekParamDescriptor* row, double t, const void* left,
                                      const void* right, void* out);

/* One parameter row: 120 bytes. */
typedef struct VekParamDescriptor {
  const char* key;            /* "P1", "P2" ...; shared rows "MP1".."MP4", "SalientP1" */
  const char* nameId;         /* string id, then ";"-separated enumeration options */
  const char* descriptionId;  /* may be null */
  const void* minimum;        /* each value pointer points to a constant of the row's type */
  const void* maximum;
  const void* defaultValue;
  const void* value3;
  const void* value4;
  const void* value5;
  uint32_t reserved_72[3];
  uint32_t typeCode;          /* VEK_TYPE_* */
  uint32_t editorKind;        /* VEK_EDITOR_* */
  uint32_t valueSize;         /* bytes in the value block */
  uint32_t animatable;
  uint32_t reserved_100;
  VekInterpolateFn interpolate; /* null but for one row */
  int32_t group;
  int32_t scope;
} VekParamDescriptor;

/* Callback slots of an effect; slots 4 and 7 are always null. */
typedef struct VekEffectCallbacks {
  VekInstanceFn init;
  VekInstanceFn destroy;
  VekSetInputFn setInput;
  VekInstanceFn process;
  VekInstanceFn reserved4;
  VekInstanceFn prepare;
  VekInstanceFn releaseResources;
  VekInstanceFn reserved7;
} VekEffectCallbacks;

/* One catalogue row: 216 bytes. words[k] is the descriptor word Fk. */
typedef struct VekEffectDescriptor {
  const char* classId;       /* "DSP_TR_Fade" */
  const char* nameId;        /* "IDS_DSP_Tr_Fade_Name" */
  const char* descriptionId; /* "IDS_DSP_Tr_Fade_Desc" */
  const char* author;
  const char* vendor;
  uint32_t words[18];        /* F0 category, F1 sub-id ... F17 parameter count */
  const VekParamDescriptor* params;
  const struct VekModuleDescriptor* module;
  uint64_t privateBytes;     /* size of the private block the host allocates per instance */
  VekEffectCallbacks callbacks;
  const void* reserved_200;
  const char* subclass;      /* "DSP_SUBCLASS_V_TR_GENERAL" */
} VekEffectDescriptor;

/* Indexes into VekEffectDescriptor.words. */
enum {
  VEK_WORD_CATEGORY = 0,
  VEK_WORD_SUB_ID = 1,
  VEK_WORD_MEDIA_KIND = 3,
  VEK_WORD_INPUT_COUNT = 4,
  VEK_WORD_FLAGS = 10,
  VEK_WORD_PARAM_COUNT = 17
};

/* What VEK_DSP_InitModule hands out: 72 bytes. */
typedef struct VekModuleDescriptor {
  uint64_t version;                 /* 16 */
  const char* nameId;
  const char* descriptionId;
  const char* author;
  const char* vendor;
  VekModuleHandle instance;         /* the plug-in itself */
  VekModuleHandle resources;        /* the language library, or the plug-in when there is none */
  uint64_t effectCount;             /* 93 */
  const VekEffectDescriptor* effects;
} VekModuleDescriptor;

/* The host's instance record. The plug-in writes only historyReset, prepared and its private block. */
typedef struct VekEffectInstance {
  uint8_t reserved_0[8];
  const VekEffectDescriptor* descriptor;
  VekObject* hostObject;            /* slot 0 is called by Init */
  uint8_t reserved_24[8];
  void* privateBlock;               /* privateBytes of the descriptor, owned by the host */
  uint8_t* output;                  /* the frame Process writes */
  int32_t colourLayout;             /* VEK_LAYOUT_LUMA_CHROMA or ARGB */
  int32_t pictureMode;
  int32_t fieldMode;                /* VEK_FIELD_* */
  uint32_t processingMode;          /* 512 or 1024 hand the job to the accelerator */
  int32_t frameFormat;
  int32_t offsetMode;               /* 0 none, 1 negative, 2 positive */
  float offsetAmount;
  uint8_t reserved_76[28];
  VekObject* accelerator;
  int32_t historyReset;
  uint32_t width;
  uint32_t height;
  int32_t audioFormat[4];           /* rate, channels, bits per sample, samples per channel */
  uint8_t reserved_140[4];
  uint8_t* paramValues;             /* packed values of every parameter row */
  uint8_t reserved_152[24];
  uint32_t sourceGeometry[2];
  uint8_t reserved_184[24];
  int32_t workerCount;
  uint8_t alphaAware;
  uint8_t reserved_213[11];
  int32_t prepared;                 /* only the low byte carries the flag */
  uint8_t reserved_228[32];
  int32_t renderHint;               /* 3 or more selects the SSE4.1 paths */
  uint8_t reserved_264[4];
  uint32_t randomSeed;
  uint8_t reserved_272[8];
  uint64_t region[4];
  uint8_t reserved_312[4];
  int32_t acceleratorOptions[2];
  uint8_t reserved_324[28];
  VekObject* bufferService;
} VekEffectInstance;

/* The record that carries one input to SetInput. */
typedef struct VekInputSample {
  uint8_t reserved_0[32];
  void* privateBlock;               /* the private block of the instance the sample is for */
  uint8_t* frame;
  uint8_t reserved_48[96];
  uint8_t* paramValues;             /* audio: the value block of this sample */
  int32_t endValueOffset;           /* audio: offset of the volume at the end of the block */
  uint8_t reserved_156[56];
  int32_t pictureGeometry[3];
} VekInputSample;

/* The two exports. A host finds them by name (dlsym, GetProcAddress); *out receives the address
 * of the VekModuleDescriptor. */
#if !defined(VEK_DSP_BUILDING)
#define VEK_DSP_API
#elif defined(_WIN32)
#define VEK_DSP_API __declspec(dllexport)
#else
#define VEK_DSP_API __attribute__((visibility("default")))
#endif
typedef VekStatus (*VekInitModuleFn)(uint64_t* out);
typedef VekStatus (*VekDeInitModuleFn)(void);
VEK_DSP_API VekStatus VEK_DSP_InitModule(uint64_t* out);
VEK_DSP_API VekStatus VEK_DSP_DeInitModule(void);

#ifdef __cplusplus
}
#define VEK_STATIC_ASSERT static_assert
#else
#define VEK_STATIC_ASSERT _Static_assert
#endif

VEK_STATIC_ASSERT(sizeof(void*) == 8, "the host interface is 64-bit only");
VEK_STATIC_ASSERT(sizeof(VekModuleDescriptor) == 72, "ModuleDescriptor size");
VEK_STATIC_ASSERT(offsetof(VekModuleDescriptor, instance) == 40, "instance handle offset");
VEK_STATIC_ASSERT(offsetof(VekModuleDescriptor, resources) == 48, "resource handle offset");
VEK_STATIC_ASSERT(offsetof(VekModuleDescriptor, effectCount) == 56, "effect count offset");
VEK_STATIC_ASSERT(offsetof(VekModuleDescriptor, effects) == 64, "effect table offset");

VEK_STATIC_ASSERT(sizeof(VekEffectDescriptor) == 216, "EffectDescriptor size");
VEK_STATIC_ASSERT(offsetof(VekEffectDescriptor, vendor) == 32, "vendor offset");
VEK_STATIC_ASSERT(offsetof(VekEffectDescriptor, words) == 40, "word F0 offset");
VEK_STATIC_ASSERT(offsetof(VekEffectDescriptor, params) == 112, "parameter table offset");
VEK_STATIC_ASSERT(offsetof(VekEffectDescriptor, module) == 120, "module offset");
VEK_STATIC_ASSERT(offsetof(VekEffectDescriptor, privateBytes) == 128, "private size offset");
VEK_STATIC_ASSERT(offsetof(VekEffectDescriptor, callbacks) == 136, "callbacks offset");
VEK_STATIC_ASSERT(offsetof(VekEffectDescriptor, reserved_200) == 200, "reserved offset");
VEK_STATIC_ASSERT(offsetof(VekEffectDescriptor, subclass) == 208, "subclass offset");

VEK_STATIC_ASSERT(sizeof(VekParamDescriptor) == 120, "ParamDescriptor size");
VEK_STATIC_ASSERT(offsetof(VekParamDescriptor, minimum) == 24, "minimum offset");
VEK_STATIC_ASSERT(offsetof(VekParamDescriptor, value5) == 64, "value 5 offset");
VEK_STATIC_ASSERT(offsetof(VekParamDescriptor, typeCode) == 84, "type code offset");
VEK_STATIC_ASSERT(offsetof(VekParamDescriptor, valueSize) == 92, "value size offset");
VEK_STATIC_ASSERT(offsetof(VekParamDescriptor, animatable) == 96, "animatable offset");
VEK_STATIC_ASSERT(offsetof(VekParamDescriptor, interpolate) == 104, "interpolation offset");
VEK_STATIC_ASSERT(offsetof(VekParamDescriptor, group) == 112, "group offset");
VEK_STATIC_ASSERT(offsetof(VekParamDescriptor, scope) == 116, "scope offset");

VEK_STATIC_ASSERT(offsetof(VekEffectInstance, descriptor) == 8, "descriptor offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, hostObject) == 16, "host object offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, privateBlock) == 32, "private block offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, output) == 40, "output offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, colourLayout) == 48, "colour layout offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, pictureMode) == 52, "picture mode offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, fieldMode) == 56, "field mode offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, processingMode) == 60, "processing mode offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, frameFormat) == 64, "frame format offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, offsetMode) == 68, "offset mode offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, offsetAmount) == 72, "offset amount offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, accelerator) == 104, "accelerator offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, historyReset) == 112, "history reset offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, width) == 116, "width offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, height) == 120, "height offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, audioFormat) == 124, "audio format offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, paramValues) == 144, "value block offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, sourceGeometry) == 176, "source geometry offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, workerCount) == 208, "worker count offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, alphaAware) == 212, "alpha-aware offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, prepared) == 224, "prepared flag offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, renderHint) == 260, "render hint offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, randomSeed) == 268, "random seed offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, region) == 280, "region offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, acceleratorOptions) == 316, "accelerator options offset");
VEK_STATIC_ASSERT(offsetof(VekEffectInstance, bufferService) == 352, "buffer service offset");
VEK_STATIC_ASSERT(sizeof(VekEffectInstance) == 360, "EffectInstance size");

VEK_STATIC_ASSERT(offsetof(VekInputSample, privateBlock) == 32, "sample private block offset");
VEK_STATIC_ASSERT(offsetof(VekInputSample, frame) == 40, "sample frame offset");
VEK_STATIC_ASSERT(offsetof(VekInputSample, paramValues) == 144, "sample value block offset");
VEK_STATIC_ASSERT(offsetof(VekInputSample, endValueOffset) == 152, "sample end-value offset");
VEK_STATIC_ASSERT(offsetof(VekInputSample, pictureGeometry) == 212, "sample picture geometry offset");
VEK_STATIC_ASSERT(sizeof(VekInputSample) == 224, "InputSample size");

#endif
