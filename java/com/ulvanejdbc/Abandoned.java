package com.ulvanejdbc;

import java.lang.ref.PhantomReference;
import java.lang.ref.Reference;
import java.lang.ref.ReferenceQueue;
import java.sql.SQLException;
import java.util.Collections;
import java.util.HashSet;
import java.util.Set;

/** Closes the session of an owner that became garbage; done as the next owner is made, so that it needs no thread. */
final class Abandoned extends PhantomReference<Object> {
  private static final ReferenceQueue<Object> QUEUE = new ReferenceQueue<>();

  /** Keeps the references themselves alive until their owner is gone. */
  private static final Set<Abandoned> WATCHED = Collections.synchronizedSet(new HashSet<>());

  private final Session session;

  private Abandoned(Object owner, Session session) {
    super(owner, QUEUE);
    this.session = session;
  }

  static void watch(Object owner, Session session) {
    closeCollected();
    WATCHED.add(new Abandoned(owner, session));
  }

  private static void closeCollected() {
    for (Reference<?> gone = QUEUE.poll(); gone != null; gone = QUEUE.poll()) {
      WATCHED.remove(gone);
      ((Abandoned) gone).close();
    }
  }

  private void close() {
    try {
      session.close();
    } catch (SQLException | RuntimeException nobodyIsLeftToTell) {
      return;
    }
  }
}
