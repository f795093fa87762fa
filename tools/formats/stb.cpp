// The library that reads BMP files. Built without warnings.
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#define STBI_MAX_DIMENSIONS 32767
#include <stb/stb_image.h>
