message(STATUS "install rules later")
