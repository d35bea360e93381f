#include "codecs.h"

// jpeglib.h needs size_t and FILE declared before it.
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <string>

#include <jpeglib.h>
#include <png.h>

#include "vekhost/error.h"

// libpng and libjpeg report errors by longjmp. Every step below runs under its own setjmp in a
// function whose locals are trivial, so no C++ object is skipped or left indeterminate; the
// objects the libraries write to live in the caller.

namespace vek::host {
namespace {

void CheckSize(const std::filesystem::path& path, unsigned long width, unsigned long height) {
  if (width == 0 || height == 0 || width > unsigned(kMaxFrameSide) || height > unsigned(kMaxFrameSide)) {
    throw Error(path.string() + " is " + SizeText(int(width), int(height)) + "; pictures of 1 to " +
                std::to_string(kMaxFrameSide) + " pixels a side are read");
  }
}

struct PngMemory {
  const uint8_t* data = nullptr;
  std::size_t size = 0;
  std::size_t at = 0;
  std::vector<uint8_t>* written = nullptr;
  std::string message;
};

[[noreturn]] void OnPngError(png_structp png, png_const_charp message) {
  static_cast<PngMemory*>(png_get_error_ptr(png))->message = message;
  png_longjmp(png, 1);
}

// Warnings (an unknown chunk, a bad gamma value) do not stop a picture from being read.
void OnPngWarning(png_structp, png_const_charp) {}

void ReadPngData(png_structp png, png_bytep out, png_size_t length) {
  auto* memory = static_cast<PngMemory*>(png_get_io_ptr(png));
  if (length > memory->size - memory->at) png_error(png, "the file ends early");
  std::memcpy(out, memory->data + memory->at, length);
  memory->at += length;
}

void WritePngData(png_structp png, png_bytep data, png_size_t length) {
  auto* memory = static_cast<PngMemory*>(png_get_io_ptr(png));
  memory->written->insert(memory->written->end(), data, data + length);
}

void FlushPngData(png_structp) {}

struct PngReader {
  PngMemory memory;
  png_structp png = nullptr;
  png_infop info = nullptr;
  ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
};

// Every colour type and depth becomes 8-bit B, G, R, A.
bool ReadPngHeader(PngReader& reader, png_uint_32* width, png_uint_32* height) {
  if (setjmp(png_jmpbuf(reader.png))) return false;
  png_set_read_fn(reader.png, &reader.memory, ReadPngData);
  png_read_info(reader.png, reader.info);
  png_set_expand(reader.png);
  png_set_scale_16(reader.png);
  png_set_gray_to_rgb(reader.png);
  png_set_add_alpha(reader.png, 0xFF, PNG_FILLER_AFTER);
  png_set_bgr(reader.png);
  png_set_interlace_handling(reader.png);
  png_read_update_info(reader.png, reader.info);
  *width = png_get_image_width(reader.png, reader.info);
  *height = png_get_image_height(reader.png, reader.info);
  if (png_get_rowbytes(reader.png, reader.info) != std::size_t(*width) * 4) png_error(reader.png, "unexpected layout");
  return true;
}

bool ReadPngPixels(PngReader& reader, png_bytep* rows) {
  if (setjmp(png_jmpbuf(reader.png))) return false;
  png_read_image(reader.png, rows);
  png_read_end(reader.png, nullptr);
  return true;
}

// A pHYs chunk counts pixels a unit across and down: a pixel is as wide as 1 / across.
PixelAspect PngPixelAspect(const PngReader& reader) {
  png_uint_32 across = 0, down = 0;
  int unit = 0;
  if (!png_get_pHYs(reader.png, reader.info, &across, &down, &unit)) return {};
  return PixelAspect::Of(down, across);
}

}  // namespace

Still DecodePng(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
  PngReader reader;
  reader.memory.data = bytes.data();
  reader.memory.size = bytes.size();
  reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reader.memory, OnPngError, OnPngWarning);
  if (reader.png) reader.info = png_create_info_struct(reader.png);
  if (!reader.info) throw Error("cannot read " + path.string() + ": out of memory");
  png_uint_32 width = 0, height = 0;
  if (!ReadPngHeader(reader, &width, &height)) {
    throw Error("cannot read the PNG file " + path.string() + ": " + reader.memory.message);
  }
  CheckSize(path, width, height);
  Frame frame(static_cast<int>(width), static_cast<int>(height));
  std::vector<png_bytep> rows(height);
  for (png_uint_32 y = 0; y < height; ++y) rows[y] = frame.Pixel(0, int(y));
  if (!ReadPngPixels(reader, rows.data())) {
    throw Error("cannot read the PNG file " + path.string() + ": " + reader.memory.message);
  }
  return {std::move(frame), PngPixelAspect(reader)};
}

namespace {

struct JpegErrors {
  jpeg_error_mgr manager;
  std::jmp_buf jump;
  std::string message;
};

[[noreturn]] void OnJpegError(j_common_ptr info) {
  auto* errors = reinterpret_cast<JpegErrors*>(info->err);
  char text[JMSG_LENGTH_MAX];
  info->err->format_message(info, text);
  errors->message = text;
  std::longjmp(errors->jump, 1);
}

// Warnings (corrupt data that the decoder can step over) do not stop a picture from being read.
void OnJpegMessage(j_common_ptr) {}

struct JpegReader {
  JpegReader() {
    std::memset(&info, 0, sizeof info);
    info.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = OnJpegError;
    errors.manager.output_message = OnJpegMessage;
  }
  // Safe before jpeg_create_decompress too: it frees nothing while the memory manager is null.
  ~JpegReader() { jpeg_destroy_decompress(&info); }
  JpegErrors errors;
  jpeg_decompress_struct info;
};

bool ReadJpegHeader(JpegReader& reader, const std::vector<uint8_t>& bytes) {
  if (setjmp(reader.errors.jump)) return false;
  jpeg_create_decompress(&reader.info);
  jpeg_mem_src(&reader.info, bytes.data(), static_cast<unsigned long>(bytes.size()));
  jpeg_read_header(&reader.info, TRUE);
  reader.info.out_color_space = JCS_EXT_BGRA;  // libjpeg-turbo fills the fourth byte with 0xFF
  jpeg_start_decompress(&reader.info);
  return true;
}

bool ReadJpegPixels(JpegReader& reader, uint8_t* pixels, std::size_t rowBytes) {
  if (setjmp(reader.errors.jump)) return false;
  while (reader.info.output_scanline < reader.info.output_height) {
    JSAMPROW row = pixels + std::size_t(reader.info.output_scanline) * rowBytes;
    jpeg_read_scanlines(&reader.info, &row, 1);
  }
  jpeg_finish_decompress(&reader.info);
  return true;
}

}  // namespace

Still DecodeJpeg(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
  JpegReader reader;
  if (!ReadJpegHeader(reader, bytes)) {
    throw Error("cannot read the JPEG file " + path.string() + ": " + reader.errors.message);
  }
  CheckSize(path, reader.info.output_width, reader.info.output_height);
  Frame frame(int(reader.info.output_width), int(reader.info.output_height));
  if (!ReadJpegPixels(reader, frame.bytes.data(), frame.RowBytes())) {
    throw Error("cannot read the JPEG file " + path.string() + ": " + reader.errors.message);
  }
  // The JFIF densities count pixels a unit across and down, or give the shape alone (unit 0).
  const PixelAspect aspect =
      reader.info.saw_JFIF_marker ? PixelAspect::Of(reader.info.Y_density, reader.info.X_density) : PixelAspect{};
  return {std::move(frame), aspect};
}

namespace {

struct PngWriter {
  PngMemory memory;
  png_structp png = nullptr;
  png_infop info = nullptr;
  ~PngWriter() { png_destroy_write_struct(&png, &info); }
};

bool WritePngSteps(PngWriter& writer, const Frame& frame, PixelAspect pixelAspect, png_bytep* rows) {
  if (setjmp(png_jmpbuf(writer.png))) return false;
  png_set_write_fn(writer.png, &writer.memory, WritePngData, FlushPngData);
  png_set_IHDR(writer.png, writer.info, png_uint_32(frame.width), png_uint_32(frame.height), 8,
               PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!pixelAspect.Square()) {
    png_set_pHYs(writer.png, writer.info, pixelAspect.height, pixelAspect.width, PNG_RESOLUTION_UNKNOWN);
  }
  png_write_info(writer.png, writer.info);
  png_set_bgr(writer.png);
  png_write_image(writer.png, rows);
  png_write_end(writer.png, nullptr);
  return true;
}

}  // namespace

std::vector<uint8_t> EncodePng(const Frame& argb, PixelAspect pixelAspect, const std::filesystem::path& path) {
  std::vector<uint8_t> encoded;
  PngWriter writer;
  writer.memory.written = &encoded;
  writer.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &writer.memory, OnPngError, OnPngWarning);
  if (writer.png) writer.info = png_create_info_struct(writer.png);
  if (!writer.info) throw Error("cannot write " + path.string() + ": out of memory");
  std::vector<png_bytep> rows(std::size_t(argb.height));
  // libpng's row type is not const, but writing only reads the rows.
  for (int y = 0; y < argb.height; ++y) rows[std::size_t(y)] = const_cast<png_bytep>(argb.Pixel(0, y));
  if (!WritePngSteps(writer, argb, pixelAspect, rows.data())) {
    throw Error("cannot encode " + path.string() + ": " + writer.memory.message);
  }
  return encoded;
}

}  // namespace vek::host
