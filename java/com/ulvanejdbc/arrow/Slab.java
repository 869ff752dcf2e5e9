package com.ulvanejdbc.arrow;

import java.lang.reflect.Method;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.Queue;
import java.util.concurrent.ConcurrentLinkedQueue;

/** Native memory of one column's values in one batch. Native code finds the class and its methods by name. */
public final class Slab {
  /** Arrow wants buffers to begin, and to be padded, at multiples of this. */
  static final int ALIGNMENT = 64;

  private static final Method ALIGNED_SLICE = alignedSlice();

  private final ByteBuffer memory;
  private final Pool pool;

  private Slab(ByteBuffer memory, Pool pool) {
    this.memory = memory;
    this.pool = pool;
  }

  /** A direct buffer, in Arrow's byte order. */
  public ByteBuffer memory() {
    return memory;
  }

  /** Says that nobody reads the memory any more; any thread, once. */
  public void release() {
    if (!pool.closed) pool.free.add(this);
  }

  /** The slabs of one column, for reuse: memory made anew would stay until the collector finds it. */
  static final class Pool {
    private final Queue<Slab> free = new ConcurrentLinkedQueue<>();
    private volatile boolean closed;

    /** @return a slab of at least this size, whose content is not defined */
    Slab take(int size) {
      Slab slab = free.poll();
      return slab != null && slab.memory.capacity() >= size ? slab : new Slab(allocate(size + size / 4), this);
    }

    void close() {
      closed = true;
      free.clear();
    }
  }

  static int padded(int size) {
    return Math.addExact(size, ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
  }

  private static ByteBuffer allocate(int size) {
    ByteBuffer buffer = ByteBuffer.allocateDirect(Math.addExact(padded(size), ALIGNMENT));
    return aligned(buffer).order(ByteOrder.LITTLE_ENDIAN);
  }

  /** Java 8 cannot align; the memory it makes begins at a multiple of 16, which Arrow allows. */
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
