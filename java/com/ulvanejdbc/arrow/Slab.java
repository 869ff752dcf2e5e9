package com.ulvanejdbc.arrow;

import java.lang.reflect.Method;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.ArrayDeque;
import java.util.Deque;
import java.util.Map;
import java.util.TreeMap;

/** Native memory of one column's values in one batch. Native code finds the class and its methods by name. */
public final class Slab {
  /** Arrow wants buffers to begin, and to be padded, at multiples of this. */
  static final int ALIGNMENT = 64;

  /** Waste of up to this many bytes per slab does not matter. */
  private static final int SMALL = 1 << 12;

  private static final Method ALIGNED_SLICE = alignedSlice();

  /** Released slabs of all results, by their size. New memory would stay until the collector frees it. */
  private static final TreeMap<Integer, Deque<Slab>> RELEASED = new TreeMap<>();

  private static final long MAX_RELEASED_BYTES = Runtime.getRuntime().maxMemory() / 4;

  private static long releasedBytes;

  private final ByteBuffer memory;

  private Slab(ByteBuffer memory) {
    this.memory = memory;
  }

  /** @return a slab of at least this size, and not much more, whose content is not defined */
  static Slab take(int size) {
    Slab slab = takeReleased(size);
    return slab != null ? slab : new Slab(allocate(size + size / 4));
  }

  private static Slab takeReleased(int size) {
    synchronized (RELEASED) {
      Map.Entry<Integer, Deque<Slab>> fitting = RELEASED.ceilingEntry(size);
      if (fitting == null || fitting.getKey() / 2 > size + SMALL) return null;
      Slab slab = fitting.getValue().pop();
      if (fitting.getValue().isEmpty()) RELEASED.remove(fitting.getKey());
      releasedBytes -= fitting.getKey();
      return slab;
    }
  }

  /** A direct buffer, in Arrow's byte order. */
  public ByteBuffer memory() {
    return memory;
  }

  /** Gives the memory back for reuse. Any thread, once. */
  public void release() {
    int size = memory.capacity();
    synchronized (RELEASED) {
      if (releasedBytes + size > MAX_RELEASED_BYTES) return;
      RELEASED.computeIfAbsent(size, unknown -> new ArrayDeque<>()).push(this);
      releasedBytes += size;
    }
  }

  static int padded(int size) {
    return Math.addExact(size, ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
  }

  private static ByteBuffer allocate(int size) {
    ByteBuffer buffer = ByteBuffer.allocateDirect(Math.addExact(padded(size), ALIGNMENT));
    return aligned(buffer).order(ByteOrder.LITTLE_ENDIAN);
  }

  /** Java 8 cannot align. Its memory begins at a multiple of 16, which Arrow allows. */
  private static ByteBuffer aligned(ByteBuffer buffer) {
    if (ALIGNED_SLICE == null) return buffer;
    try {
      return (ByteBuffer) ALIGNED_SLICE.invoke(buffer, ALIGNMENT);
    } catch (ReflectiveOperationException refused) {
      return buffer;
    }
  }

  private static Method alignedSlice() {
    try {
      return ByteBuffer.class.getMethod("alignedSlice", int.class);
    } catch (NoSuchMethodException beforeJava9) {
      return null;
    }
  }
}
