package com.ulvanejdbc.adbc;

import java.io.ByteArrayOutputStream;
import java.io.DataOutputStream;
import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;

/** Writes nested columns as bytes, which native code makes arrays of. Numbers are big-endian. */
final class TreeWriter {
  private static final int NULL = -1;

  private final ByteArrayOutputStream bytes = new ByteArrayOutputStream();
  private final DataOutputStream out = new DataOutputStream(bytes);

  private interface Step {
    void run() throws IOException;
  }

  /** Writing into memory does not fail. */
  private TreeWriter write(Step step) {
    try {
      step.run();
    } catch (IOException impossible) {
      throw new UncheckedIOException(impossible);
    }
    return this;
  }

  /** The number of the rows, of a list's or of a map's items, which follow. */
  TreeWriter count(int items) {
    return write(() -> out.writeInt(items));
  }

  TreeWriter nullList() {
    return count(NULL);
  }

  /** Begins a struct, whose children follow. */
  TreeWriter struct() {
    return write(() -> out.writeByte(1));
  }

  TreeWriter text(String value) {
    if (value == null) return count(NULL);
    byte[] utf8 = value.getBytes(StandardCharsets.UTF_8);
    return count(utf8.length).write(() -> out.write(utf8));
  }

  TreeWriter int16(Integer value) {
    return write(() -> {
      out.writeBoolean(value != null);
      if (value != null) out.writeShort(value);
    });
  }

  TreeWriter int32(Integer value) {
    return write(() -> {
      out.writeBoolean(value != null);
      if (value != null) out.writeInt(value);
    });
  }

  TreeWriter int64(long value) {
    return write(() -> {
      out.writeBoolean(true);
      out.writeLong(value);
    });
  }

  TreeWriter bool(Boolean value) {
    return write(() -> {
      out.writeBoolean(value != null);
      if (value != null) out.writeBoolean(value);
    });
  }

  /** The child of a union whose value follows. */
  TreeWriter choice(int child) {
    return write(() -> out.writeByte(child));
  }

  /** What another writer has written. */
  TreeWriter raw(byte[] written) {
    return write(() -> out.write(written));
  }

  byte[] toBytes() {
    return bytes.toByteArray();
  }
}
