// Puts emulated printers into a umockdev testbed the way the kernel shows a
// USB device: a sysfs entry with the descriptors and a usbfs device node.
#include "UsbPrinterTestbed.h"

#include <umockdev.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

UsbPrinterTestbed::UsbPrinterTestbed() : testbed_(umockdev_testbed_new()) {}

UsbPrinterTestbed::~UsbPrinterTestbed() {
  // The handlers call back into the printers: detach them first.
  for (const std::string& node : devNodes_) umockdev_testbed_detach_ioctl(testbed_, node.c_str(), nullptr);
  for (const std::string& path : sysPaths_) umockdev_testbed_remove_device(testbed_, path.c_str());
  g_object_unref(testbed_);
  printers_.clear();
}

bool UsbPrinterTestbed::PreloadActive() {
  const char* preload = std::getenv("LD_PRELOAD");
  return preload != nullptr && std::strstr(preload, "libumockdev-preload") != nullptr;
}

int UsbPrinterTestbed::AddPrinter(uint16_t vendorId, const std::string& serial, PrinterProfile profile, bool busy) {
  UsbPrinterOptions options;
  options.vendorId = vendorId;
  options.serial = serial;
  options.busy = busy;
  return AddPrinter(std::move(options), std::move(profile));
}

int UsbPrinterTestbed::AddPrinter(UsbPrinterOptions options, PrinterProfile profile) {
  int index = static_cast<int>(printers_.size());
  int devnum = index + 2;  // address 1 belongs to the root hub
  char node[64];
  std::snprintf(node, sizeof node, "/dev/bus/usb/001/%03d", devnum);
  std::string name = "1-" + std::to_string(index + 1);
  // sysfs attributes end in a newline, as the kernel writes them.
  std::string devnumText = std::to_string(devnum) + "\n";
  std::string serialText = options.serial + "\n";
  char vendor[16], product[16], devnumPadded[16];
  std::snprintf(vendor, sizeof vendor, "%04x\n", options.vendorId);
  std::snprintf(product, sizeof product, "%04x\n", options.productId);
  std::snprintf(devnumPadded, sizeof devnumPadded, "%03d", devnum);
  // usb_device nodes are character devices of major 189, minor (bus-1)*128 + address - 1.
  char devMajorMinor[32];
  std::snprintf(devMajorMinor, sizeof devMajorMinor, "189:%d\n", devnum - 1);
  char productProperty[32];  // what udev reports: vendor/product/bcdDevice
  std::snprintf(productProperty, sizeof productProperty, "%x/%x/100", options.vendorId, options.productId);

  auto printer = std::make_unique<EmulatedUsbPrinter>(options, std::move(profile));
  // The handler must own the node before the device appears.
  umockdev_testbed_attach_ioctl(testbed_, node, printer->Handler(), nullptr);
  gchar* sysPath = umockdev_testbed_add_device(
      testbed_, "usb", name.c_str(), nullptr,
      // attributes
      "busnum", "1\n", "devnum", devnumText.c_str(), "speed", "480\n", "bConfigurationValue", "1\n",
      "bNumConfigurations", "1\n", "dev", devMajorMinor, "idVendor", vendor, "idProduct", product, "serial", serialText.c_str(), nullptr,
      // properties
      "DEVNAME", node, "DEVTYPE", "usb_device", "BUSNUM", "001", "DEVNUM", devnumPadded, "PRODUCT",
      productProperty, "SUBSYSTEM", "usb", nullptr);
  std::string descriptors = printer->Descriptors();
  umockdev_testbed_set_attribute_binary(testbed_, sysPath, "descriptors",
                                        reinterpret_cast<guint8*>(descriptors.data()),
                                        static_cast<gint>(descriptors.size()));
  // The preload only redirects a node that exists in the testbed's /dev,
  // and adding the device does not create it.
  gchar* root = umockdev_testbed_get_root_dir(testbed_);
  std::filesystem::path nodeFile = std::filesystem::path(root) / std::string(node).substr(1);
  g_free(root);
  std::filesystem::create_directories(nodeFile.parent_path());
  std::ofstream(nodeFile).flush();
  sysPaths_.emplace_back(sysPath);
  g_free(sysPath);
  devNodes_.emplace_back(node);
  printers_.push_back(std::move(printer));
  return index;
}

void UsbPrinterTestbed::DenyAccess(int index) {
  gchar* root = umockdev_testbed_get_root_dir(testbed_);
  std::filesystem::path rootDir(root);
  g_free(root);
  namespace fs = std::filesystem;
  // Every user also binds the emulated udev monitor's socket there.
  fs::permissions(rootDir, fs::perms::all | fs::perms::sticky_bit);
  // umockdev's preload connects to the node's ioctl socket before it opens
  // the node: the socket stays reachable, the node itself is what refuses.
  fs::permissions(rootDir / "ioctl" / DeviceNode(index).substr(1), fs::perms::all);
  fs::permissions(rootDir / DeviceNode(index).substr(1), fs::perms::none);
}

std::string UsbPrinterTestbed::Transcript(int index) const { return printers_.at(static_cast<size_t>(index))->Transcript(); }

std::vector<std::string> UsbPrinterTestbed::CapturedData(int index) const {
  return printers_.at(static_cast<size_t>(index))->Engine().CapturedData();
}
