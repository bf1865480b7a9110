// placeholder: not yet written
