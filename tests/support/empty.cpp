// Keeps the support library non-empty while a folder has no helpers of its own.
namespace lumivex::test {
void SupportLibraryAnchor() {}
}  // namespace lumivex::test
