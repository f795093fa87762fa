#include "tools/commands.h"
#include "tools/gallery/gallery.h"
#include "tools/host_options.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace tools {

void AddGalleryCommand(CLI::App &program, Outcome &outcome) {
    CLI::App *command = program.add_subcommand("gallery", "Render every method and class into one page");
    const auto request = std::make_shared<GalleryRequest>();
    command->add_option("picture", request->picture, "a picture file; a sample when left out")->type_name("PICTURE");
    command
        ->add_option("-o,--output", request->folder,
                     "the folder in which kvt-gallery is made, with the page and its materials")
        ->type_name("FOLDER")
        ->required();
    command->footer(R"(Examples:
  kvt gallery -o .
  kvt gallery holiday.jpg -o pages
  kvt gallery -o . --host console

kvt-gallery/index.html shows every method and class: before and after, the lines of script and shell
that make it, what it promises and what it takes. It is one file that needs nothing beside it. The
other files are what its shell lines name; the lines run in that folder. A file there that kvt gallery
did not write is never replaced. A larger picture is scaled down to 640 pixels.

Exit status:
  0  done
  1  a call came to nothing: the page and standard error say which; all others are shown
  2  an option or a file cannot be used
  3  the module broke the host's rules; each breach is printed)");
    AddHostOptions(*command, request->host);
    command->callback([request, &outcome] { outcome = RenderGallery(*request); });
}

} // namespace tools
