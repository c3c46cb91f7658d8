# tests of worker
