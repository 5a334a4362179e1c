// What no program can leave out that tries one document in a network namespace and outlives the
// plug-in: enters the namespace, forks, and leads a layer's whole life in the child.
//   life_once NAMESPACE DOCUMENT

#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "devhost/libe/document.h"
#include "devhost/libe/request.h"
#include "host/kae.h"

namespace {

bool LeadLife(const devhost::Document& document) {
  void* library = dlopen(KAETCP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  void* symbol = library != nullptr ? dlsym(library, "this_kae_plugin") : nullptr;
  if (symbol == nullptr) {
    return false;
  }
  kaePlugin& plugin = **static_cast<kaePlugin**>(symbol);
  plugin.InitPlugin();
  kaeCPLayer* layer = dynamic_cast<kaeCPLayerFactory&>(plugin).GetNewLayer();
  devhost::Request request;
  dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer).do_Configure(&request, document.contents());
  dynamic_cast<kaeCPLayer::ReleaseCB&>(*layer).do_Release();
  plugin.CleanupPlugin();
  return request.reply() == devhost::Reply::kSuccess;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    return EXIT_FAILURE;
  }
  const devhost::Document document = devhost::Document::Read(argv[2]);
  if (setns(open(argv[1], O_RDONLY | O_CLOEXEC), CLONE_NEWNET) != 0) {
    return EXIT_FAILURE;
  }
  const pid_t child = fork();
  if (child == 0) {
    std::exit(LeadLife(document) ? EXIT_SUCCESS : EXIT_FAILURE);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WEXITSTATUS(status);
}
