package doubles;

/** The members that the Java connection class inherits. */
class InheritedBridge {
  private int row;

  protected void connect() {
    Recorder.enter("Bridge.connect", "");
  }

  protected boolean canDiscover() {
    return Boolean.parseBoolean(Recorder.enter("Bridge.canDiscover", "true"));
  }

  protected void query() {
    Recorder.enter("Bridge.query", "");
  }

  protected boolean next() {
    return row++ < Integer.parseInt(Recorder.enter("Bridge.next", "2"));
  }

  protected String getColumn(int index) {
    return Recorder.enter("Bridge.getColumn", "value", index);
  }
}
