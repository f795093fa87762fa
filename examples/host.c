/* A complete host in one file: it loads the module, lends it a picture in each of the two forms, calls four methods and
   shows what they answer. docs/hosts.md tells the rest: classes, exceptions, strings, memory blocks, alpha channels.

   cc -rdynamic examples/host.c -o host && ./host build/x64/kvtpicture.so     (with -m32 for build/x86/kvtpicture.so)

   -rdynamic lets the module find the CGBitmapContext... functions below; libkvtplatform.so beside the module is loaded,
   too, and serves what this file does not play. */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct { /* 16 bytes in 32 bits, 32 in 64 */
    void (*function)(void), (*setter)(void);
    const char *declaration;
    uint32_t flags;
} MethodRecord;

typedef struct {
    uint32_t version;
    const char *name;
    uint32_t unused2, instanceSize, dataOffset;
    void (*constructor)(void), (*destructor)(void);
    void *properties;
    int32_t propertyCount;
    MethodRecord *methods;
    int32_t methodCount; /* what follows does not matter to extensions */
} ClassRecord;

typedef struct {
    uint32_t type;
    void *data;
    int32_t width, height;
    void *unread[2];
} PictureDescription;

typedef struct { /* what the module reads of a console picture */
    uint32_t paletteRows;
    int32_t width, height;
    unsigned char unread[7212];
    uint32_t trueColor;
    void **rows;
} ConsolePicture;

enum { kDesktop = 8, kConsole = 10 };

typedef struct { /* what a handle of this host leads to; in the desktop form also its bitmap context */
    int references;
    ConsolePicture console;
    unsigned char *pixels; /* desktop: red, green, blue and an unused byte; console: blue, green, red, transparency */
} Picture;

static uint32_t form;       /* of the pictures that are made */
static int pictures, locks; /* that are alive, and that are held */
static ClassRecord *extension;

/* The entries that pictures need. Without "REALGetPropValueBool" no picture has an alpha channel. */

static double Version(void) { return 2024.0; }
static void RegisterExtension(ClassRecord *record) { extension = record; }

static void *ClassNamed(const char *name) {
    return strcmp(name, form == kDesktop ? "Application" : "ConsoleApplication") == 0 ? &form : NULL;
}

static Picture *NewPicture(int32_t width, int32_t height, int32_t depth) {
    Picture *picture = calloc(1, sizeof *picture);
    picture->references = 1;
    picture->pixels = calloc((size_t)width * (size_t)height, (size_t)depth / 8);
    picture->console = (ConsolePicture){.width = width, .height = height, .trueColor = 1};
    picture->console.rows = calloc((size_t)height, sizeof(void *));
    for (int y = 0; y < height; y++)
        picture->console.rows[y] = picture->pixels + (size_t)y * (size_t)width * 4;
    pictures++;
    return picture;
}

static void Lock(Picture *picture) { picture->references++; }

static void Unlock(Picture *picture) {
    if (--picture->references > 0)
        return;
    free(picture->console.rows);
    free(picture->pixels);
    free(picture);
    pictures--;
}

static unsigned char LockPixels(Picture *picture, PictureDescription *description, int32_t type) {
    if ((uint32_t)type != form)
        return 0;
    locks++;
    description->type = form;
    description->data = form == kDesktop ? (void *)picture : &picture->console;
    description->width = picture->console.width; /* not read for the desktop's */
    description->height = picture->console.height;
    return 1;
}

static void UnlockPixels(Picture *picture) { (void)picture, locks--; }
static void ClearCache(Picture *picture) { (void)picture; } /* this host makes nothing of the pixels */

static void *Resolver(const char *name) {
    static const struct {
        const char *name;
        void *function;
    } entries[] = {
        {"REALGetRBVersion", Version},
        {"PluginRegisterClassExtension", RegisterExtension},
        {"pluginObjectType", ClassNamed},
        {"newPicture", NewPicture},
        {"REALLockObject", Lock},
        {"REALUnlockObject", Unlock},
        {"REALLockPictureDescription", LockPixels},
        {"unlockPictureDescription", UnlockPixels},
        {"REALPictureClearCache", ClearCache},
    };
    for (size_t i = 0; i < sizeof entries / sizeof *entries; i++)
        if (strcmp(entries[i].name, name) == 0)
            return entries[i].function;
    return NULL;
}

/* The platform's part, for pictures in the desktop form. */

void *CGBitmapContextGetData(Picture *context) { return context->pixels; }
size_t CGBitmapContextGetBitsPerPixel(Picture *context) { return (void)context, 32; }
size_t CGBitmapContextGetWidth(Picture *context) { return (size_t)context->console.width; }
size_t CGBitmapContextGetHeight(Picture *context) { return (size_t)context->console.height; }
size_t CGBitmapContextGetBytesPerRow(Picture *context) { return (size_t)context->console.width * 4; }
uint32_t CGBitmapContextGetAlphaInfo(Picture *context) { return (void)context, 5; } /* none, the last byte is skipped */

/* What a script interpreter would do: find a method by its declaration, call it as declared, take the result over. */

static void *Method(const char *declaration) {
    for (int i = 0; extension && i < extension->methodCount; i++)
        if (strcmp(extension->methods[i].declaration, declaration) == 0)
            return (void *)extension->methods[i].function;
    fprintf(stderr, "no method %s\n", declaration);
    exit(1);
}

static unsigned char *Channel(Picture *picture, int x, int channel) { /* 0 red, 1 green, 2 blue; of the first row */
    return &picture->pixels[4 * x + (form == kDesktop ? channel : 2 - channel)];
}

static void Show(const char *what, Picture *picture) {
    printf("  %-22s", what);
    for (int x = 0; picture && x < picture->console.width; x++)
        printf(" %02X%02X%02X", *Channel(picture, x, 0), *Channel(picture, x, 1), *Channel(picture, x, 2));
    printf("\n");
    if (picture)
        Unlock(picture);
}

static void CallMethods(void) {
    Picture *(*invert)(Picture *) = Method("InvertKVT as picture");
    Picture *(*contrast)(Picture *, double) = Method("ChangeContrastKVT(Contrast as double) as picture");
    int32_t (*count)(Picture *, uint32_t) = Method("CountColorKVT(col as color) as integer");
    double (*colorness)(Picture *, int32_t) = Method("ColornessKVT(threshold as integer = 10) as double");

    Picture *photo = NewPicture(4, 1, 32);
    for (int i = 0; i < 12; i++) /* three grays and a red */
        *Channel(photo, i / 3, i % 3) = (unsigned char)(i == 9 ? 255 : i / 3 % 3 * 60);
    Show("InvertKVT", invert(photo));
    Show("ChangeContrastKVT(0.5)", contrast(photo, 0.5));
    printf("  CountColorKVT(&cFF0000) %d\n  ColornessKVT(10) %g\n", count(photo, 0xFF0000), colorness(photo, 10));
    Show("the picture", photo);
}

int main(int argc, char **argv) {
    for (int i = 1; i <= 2; i++) {
        void *module = dlopen(argc > 1 ? argv[1] : "./kvtpicture.so", RTLD_LAZY | RTLD_LOCAL);
        if (!module) {
            fprintf(stderr, "%s\n", dlerror());
            return 1;
        }
        void (*start)(void *(*)(const char *)) = dlsym(module, "REALPluginMain");
        form = i == 1 ? kDesktop : kConsole;
        printf("%s pictures\n", i == 1 ? "desktop" : "console");
        start(Resolver);
        CallMethods();
        dlclose(module); /* a kind of host is settled for as long as the module is loaded */
    }
    printf("%d pictures left, %d locks left\n", pictures, locks);
    return pictures != 0 || locks != 0;
}
