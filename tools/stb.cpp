// The picture file library, for the kinds of files that the tools read and write. Built without warnings.
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#define STBI_WRITE_NO_STDIO
#define STBI_MAX_DIMENSIONS 32767
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>
