// Prints a test card through the queue's CUPS destination: chooses the
// colour of each side from the ribbon, turns the card images into card-size
// PDF pages and submits them as the job "Orvex Test Print".
#pragma once

#include <QImage>
#include <string>

class DeviceCommunication;
class TestCardRenderer;

class TestCardPrinter {
 public:
  enum class Result {
    kPrinted,        // submitted and followed to its end
    kSubmitFailed,   // CUPS refused the job (logged as "Error is %s")
    kUnknownQueue,   // CUPS does not know the queue: nothing was printed
    kNoCard,         // a card kind outside 0..2: nothing drawn
    kPdfFailed,      // a card PDF could not be written
  };

  // The message the window shows for kUnknownQueue, %@ standing for the
  // queue name.
  static constexpr const char* kUnknownQueueMessage = "The printer %@ is not known to the print system.";
  static std::string UnknownQueueMessage(const std::string& queueName);

  // The job title of every test print.
  static constexpr const char* kJobTitle = "Orvex Test Print";
  // Card size in points: ID-1 landscape.
  static constexpr double kPageWidth = 245.8;
  static constexpr double kPageHeight = 153.6;

  // `device` (not owned, may be null) is the window's printer session whose
  // direct connection is released while CUPS prints.
  TestCardPrinter(DeviceCommunication* device, std::string queueName);

  // Draws card `kind` with `renderer` (front always, back when `dualSide`),
  // colours from driver ribbon index `ribbonIndex`, and prints it.
  Result ProcessTestCard(TestCardRenderer& renderer, int kind, int ribbonIndex, bool dualSide);

  // Saves the images as PDFs in the temporary directory, merges two sides
  // into one file and submits it to the queue. `back` may be null.
  Result SendTestCardToPrinter(const QImage* front, const QImage* back);

  // The job id of the last submission (0 before one, below 1 on failure).
  int LastJobId() const { return lastJobId_; }

  // One PDF page of exactly kPageWidth x kPageHeight points holding the
  // image scaled to fit inside a 1-point margin at the left and top.
  static bool SaveImageAsPdf(const QImage& image, const std::string& path);
  // Page 1 of `first`, then page 1 of `second`, into `output`, each page
  // set to the card size.
  static bool MergePdf(const std::string& first, const std::string& second, const std::string& output);
  // The user's private temporary directory joined with the last path
  // component of `name`.
  static std::string GetTempFileName(const std::string& name);

 private:
  // True when CUPS has a destination of that name.
  bool QueueIsKnown() const;

  DeviceCommunication* device_;
  std::string queueName_;
  int lastJobId_ = 0;
};
